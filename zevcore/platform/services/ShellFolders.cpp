#include "zevcore/platform/services/ShellFolders.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <string>

#include "zevcore/platform/services/Module.h"

namespace {

std::string env(const char* name) {
    const char* value = std::getenv(name);
    return value ? value : "";
}

// An XDG base variable when it holds an absolute path, else home + the fallback.
std::string xdgBase(const char* variable, const char* fallback) {
    std::string value = env(variable);
    if (!value.empty() && value[0] == '/') return value;
    std::string home = env("HOME");
    return home.empty() ? std::string() : home + fallback;
}

// XDG_DOCUMENTS_DIR as user-dirs.dirs writes it: a quoted path, absolute or from $HOME.
std::string documentsFolder() {
    std::string home = env("HOME");
    std::string config = xdgBase("XDG_CONFIG_HOME", "/.config");
    std::ifstream dirs(config + "/user-dirs.dirs");
    std::string line;
    while (std::getline(dirs, line)) {
        const std::string name = "XDG_DOCUMENTS_DIR=\"";
        size_t start = line.find_first_not_of(" \t");
        if (start == std::string::npos || line.compare(start, name.size(), name) != 0) continue;
        std::string value;
        for (size_t i = start + name.size(); i < line.size() && line[i] != '"'; ++i) {
            if (line[i] == '\\' && i + 1 < line.size()) ++i;
            value += line[i];
        }
        if (value.rfind("$HOME", 0) == 0 && !home.empty()) value = home + value.substr(5);
        while (value.size() > 1 && value.back() == '/') value.pop_back();
        if (!value.empty() && value[0] == '/') return value;
    }
    return home.empty() ? std::string() : home + "/Documents";
}

std::string installPrefix() {
    std::string module = ZEVModulePath(ZEVModuleHandle()).str();
    std::string folder = module.substr(0, module.rfind('/'));
    const std::string libdir = std::string("/") + ZEV_INSTALL_LIBDIR;
    if (folder.size() > libdir.size() &&
        folder.compare(folder.size() - libdir.size(), libdir.size(), libdir) == 0)
        return folder.substr(0, folder.size() - libdir.size());
    return ZEV_INSTALL_PREFIX;
}

bool isFolder(const std::string& path) {
    struct stat st {};
    return stat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

std::string commonDataFolder() {
    std::string explicitFolder = env("ZEV_COMMON_DATA");
    if (!explicitFolder.empty()) return explicitFolder;
    if (isFolder("/var/lib/ZEV") || mkdir("/var/lib/ZEV", 0755) == 0) return "/var/lib";
    return xdgBase("XDG_STATE_HOME", "/.local/state");
}

}  // namespace

bool ZEVGetFolderPath(int csidl, CString& path) {
    std::string folder;
    switch (csidl & ~CSIDL_FLAG_CREATE) {
        case CSIDL_PERSONAL:
            folder = documentsFolder();
            break;
        case CSIDL_LOCAL_APPDATA:
            folder = xdgBase("XDG_DATA_HOME", "/.local/share");
            break;
        case CSIDL_APPDATA:
            folder = xdgBase("XDG_CONFIG_HOME", "/.config");
            break;
        case CSIDL_COMMON_APPDATA:
            folder = commonDataFolder();
            break;
        case CSIDL_PROGRAM_FILES:
        case CSIDL_PROGRAM_FILESX86:
            folder = env("ZEV_PROGRAM_FILES");
            if (folder.empty()) folder = installPrefix();
            break;
        default:
            break;
    }
    while (folder.size() > 1 && folder.back() == '/') folder.pop_back();
    path = folder;
    if (folder.empty()) return false;
    if ((csidl & CSIDL_FLAG_CREATE) && !ZEVCreateFolders(folder.c_str())) return false;
    return true;
}

bool ZEVCreateFolders(const char* path) {
    if (!path || !*path) return false;
    std::string p = path;
    for (size_t at = p.find('/', 1); at != std::string::npos; at = p.find('/', at + 1))
        mkdir(p.substr(0, at).c_str(), 0755);
    mkdir(p.c_str(), 0755);
    return isFolder(p);
}

CString ZEVAppendPath(const char* path, const char* name) {
    std::string result = path ? path : "";
    std::string tail = name ? name : "";
    size_t skip = tail.find_first_not_of('/');
    tail = skip == std::string::npos ? std::string() : tail.substr(skip);
    if (tail.empty()) return CString(result);
    if (!result.empty() && result.back() != '/') result += '/';
    return CString(result + tail);
}

CString ZEVMountPointOf(const char* path) {
    if (!path || !*path) return CString();
    char* resolved = realpath(path, nullptr);
    if (!resolved) return CString();
    std::string current = resolved;
    std::free(resolved);
    struct stat st {};
    if (stat(current.c_str(), &st) != 0) return CString();
    const dev_t device = st.st_dev;
    while (current != "/") {
        size_t slash = current.rfind('/');
        std::string parent = slash == 0 ? "/" : current.substr(0, slash);
        if (stat(parent.c_str(), &st) != 0 || st.st_dev != device) break;
        current = parent;
    }
    return CString(current);
}
