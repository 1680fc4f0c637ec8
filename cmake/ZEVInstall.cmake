include(CMakePackageConfigHelpers)

install(TARGETS zevcore
    EXPORT ZEVCoreTargets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
    RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
    INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})

install(DIRECTORY ${PROJECT_SOURCE_DIR}/zevcore/
    DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/zevcore
    FILES_MATCHING PATTERN "*.h")

if(TARGET zevcore-cli)
    install(TARGETS zevcore-cli RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
endif()

set(ZEV_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/ZEVCore)

install(EXPORT ZEVCoreTargets
    NAMESPACE ZEVCore::
    DESTINATION ${ZEV_CMAKE_DIR})

# The Qt binding, a component of its own (find_package(ZEVCore COMPONENTS Qt)): its targets
# in a file of their own, which only a consumer that asks for the component loads, so that
# the core is usable without Qt.
if(TARGET zevcore-qt)
    install(TARGETS zevcore-qt
        EXPORT ZEVCoreQtTargets
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
        INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
    install(DIRECTORY ${PROJECT_SOURCE_DIR}/zevcore-qt/
        DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/zevcore-qt
        FILES_MATCHING PATTERN "*.h")
    install(EXPORT ZEVCoreQtTargets
        NAMESPACE ZEVCore::
        DESTINATION ${ZEV_CMAKE_DIR})
endif()

configure_package_config_file(
    ${PROJECT_SOURCE_DIR}/cmake/ZEVCoreConfig.cmake.in
    ${PROJECT_BINARY_DIR}/ZEVCoreConfig.cmake
    INSTALL_DESTINATION ${ZEV_CMAKE_DIR})

write_basic_package_version_file(
    ${PROJECT_BINARY_DIR}/ZEVCoreConfigVersion.cmake
    COMPATIBILITY SameMinorVersion)

install(FILES
    ${PROJECT_BINARY_DIR}/ZEVCoreConfig.cmake
    ${PROJECT_BINARY_DIR}/ZEVCoreConfigVersion.cmake
    DESTINATION ${ZEV_CMAKE_DIR})

# Subsystems that link a system library add it with
#   set_property(GLOBAL APPEND PROPERTY ZEV_PC_REQUIRES_PRIVATE sqlite3)   (a .pc module), or
#   set_property(GLOBAL APPEND PROPERTY ZEV_PC_LIBS_PRIVATE -ltriangle)    (a plain library),
# so that static users of the .pc file know them; the shared library carries its own.
get_property(_requires GLOBAL PROPERTY ZEV_PC_REQUIRES_PRIVATE)
get_property(_libs GLOBAL PROPERTY ZEV_PC_LIBS_PRIVATE)
string(JOIN " " ZEV_PC_REQUIRES_PRIVATE ${_requires})
string(JOIN " " ZEV_PC_LIBS_PRIVATE ${_libs})
# The .pc file finds its prefix from where it lies, so the installed tree can be moved.
file(RELATIVE_PATH ZEV_PC_TO_PREFIX
    ${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
string(REGEX REPLACE "/$" "" ZEV_PC_TO_PREFIX "${ZEV_PC_TO_PREFIX}")
configure_file(${PROJECT_SOURCE_DIR}/cmake/zevcore.pc.in ${PROJECT_BINARY_DIR}/zevcore.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/zevcore.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
