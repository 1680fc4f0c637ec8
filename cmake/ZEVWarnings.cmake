# zev_set_warnings(<target>): the project's warning level, errors when ZEV_WERROR is on.
function(zev_set_warnings target)
    target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic)
    if(ZEV_WERROR)
        target_compile_options(${target} PRIVATE -Werror)
    endif()
endfunction()
