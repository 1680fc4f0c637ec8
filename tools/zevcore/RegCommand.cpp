// zevcore reg: looks inside the settings store and changes it.

#include <strings.h>

#include <cctype>
#include <charconv>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tools/zevcore/Args.h"
#include "tools/zevcore/Command.h"
#include "tools/zevcore/StoreOption.h"
#include "zevcore/platform/Registry.h"

namespace {

using namespace zevtool;

const char* const kHelp =
    "Usage: zevcore reg [--store FILE] list KEY\n"
    "       zevcore reg [--store FILE] get KEY [NAME]\n"
    "       zevcore reg [--store FILE] set KEY [NAME] [--type sz|dword|binary] VALUE\n"
    "       zevcore reg [--store FILE] delete KEY [NAME]\n"
    "\n"
    "Looks inside the per-user settings store and changes it.\n"
    "\n"
    "KEY is a path with backslashes, under HKEY_CURRENT_USER unless it starts with a root\n"
    "(HKEY_CURRENT_USER or HKCU, HKEY_LOCAL_MACHINE or HKLM, HKEY_CLASSES_ROOT or HKCR,\n"
    "HKEY_USERS or HKU). Quote it for the shell: 'Software\\ZEV\\Paths'. Without NAME, get,\n"
    "set and delete work on the key's default value; delete without NAME removes the key and\n"
    "everything beneath it.\n"
    "\n"
    "list prints the subkeys, one a line, ending in a backslash, then the values, one a line:\n"
    "NAME, TAB, TYPE, TAB, DATA, with (default) as the default value's name. get prints\n"
    "the DATA alone. DATA is text for REG_SZ and REG_EXPAND_SZ (a backslash, tab, newline\n"
    "or other control byte written as \\\\, \\t, \\n or \\xHH), a decimal number for\n"
    "REG_DWORD and REG_QWORD, and hexadecimal bytes otherwise.\n"
    "\n"
    "set stores a text (sz, the default, with its terminating NUL), a 32-bit number (dword:\n"
    "decimal, or hexadecimal after 0x; a negative number is stored in two's complement) or\n"
    "bytes (binary: hexadecimal digits, spaces allowed).\n"
    "\n"
    "Options:\n"
    "  --store FILE  use this store file instead of the user's ($ZEV_REGISTRY, else\n"
    "                $XDG_CONFIG_HOME/ZEV/registry.db)\n"
    "  -h, --help    show this help and exit\n"
    "\n"
    "Exit status: 0 on success, 1 when the key or value is missing or the store fails,\n"
    "2 on bad usage.\n";

int fail(const std::string& what, LSTATUS status) {
    std::cerr << "zevcore reg: " << what << ": " << storeStatusText(status) << "\n";
    return kFailure;
}

// Splits "HKCU\Software\ZEV" into its root and the path below it.
HKEY rootOf(std::string& path) {
    struct Root {
        const char* longName;
        const char* shortName;
        HKEY key;
    };
    const Root roots[] = {
        {"HKEY_CURRENT_USER", "HKCU", HKEY_CURRENT_USER},
        {"HKEY_LOCAL_MACHINE", "HKLM", HKEY_LOCAL_MACHINE},
        {"HKEY_CLASSES_ROOT", "HKCR", HKEY_CLASSES_ROOT},
        {"HKEY_USERS", "HKU", HKEY_USERS},
    };
    std::string first = path.substr(0, path.find('\\'));
    for (const Root& root : roots) {
        if (strcasecmp(first.c_str(), root.longName) == 0 ||
            strcasecmp(first.c_str(), root.shortName) == 0) {
            path.erase(0, first.size() == path.size() ? path.size() : first.size() + 1);
            return root.key;
        }
    }
    return HKEY_CURRENT_USER;
}

const char* typeName(DWORD type) {
    switch (type) {
        case REG_NONE:
            return "REG_NONE";
        case REG_SZ:
            return "REG_SZ";
        case REG_EXPAND_SZ:
            return "REG_EXPAND_SZ";
        case REG_BINARY:
            return "REG_BINARY";
        case REG_DWORD:
            return "REG_DWORD";
        case REG_DWORD_BIG_ENDIAN:
            return "REG_DWORD_BIG_ENDIAN";
        case REG_LINK:
            return "REG_LINK";
        case REG_MULTI_SZ:
            return "REG_MULTI_SZ";
        case REG_QWORD:
            return "REG_QWORD";
        default:
            return "REG_UNKNOWN";
    }
}

std::string hexBytes(const std::string& bytes) {
    static const char digits[] = "0123456789abcdef";
    std::string out;
    for (unsigned char b : bytes) {
        out += digits[b >> 4];
        out += digits[b & 15];
    }
    return out;
}

std::string showData(const ZEVStoredValue& value) {
    const std::string& d = value.data;
    if (value.type == REG_SZ || value.type == REG_EXPAND_SZ) {
        std::string text = d.substr(0, d.find('\0'));
        std::string out;
        for (unsigned char c : text) {
            if (c == '\\')
                out += "\\\\";
            else if (c == '\t')
                out += "\\t";
            else if (c == '\n')
                out += "\\n";
            else if (c < 0x20 || c == 0x7f)
                out += "\\x" + hexBytes(std::string(1, char(c)));
            else
                out += char(c);
        }
        return out;
    }
    if (value.type == REG_DWORD && d.size() == 4) {
        std::uint32_t n = 0;
        std::memcpy(&n, d.data(), 4);
        return std::to_string(n);
    }
    if (value.type == REG_QWORD && d.size() == 8) {
        std::uint64_t n = 0;
        std::memcpy(&n, d.data(), 8);
        return std::to_string(n);
    }
    return hexBytes(d);
}

// Opens KEY for reading; answers the status.
LSTATUS openKey(const std::string& keyArg, HKEY& key) {
    std::string path = keyArg;
    HKEY root = rootOf(path);
    return RegOpenKeyExA(root, path.c_str(), 0, KEY_READ, &key);
}

std::string valueLabel(const std::string& name) {
    return name.empty() ? "(default)" : name;
}

int list(const std::string& keyArg) {
    HKEY key = nullptr;
    LSTATUS status = openKey(keyArg, key);
    if (status != ERROR_SUCCESS) return fail(keyArg, status);
    std::vector<char> name(ZEV_MAX_KEY_NAME + 1);
    for (DWORD i = 0;; ++i) {
        DWORD size = static_cast<DWORD>(name.size());
        status = RegEnumKeyExA(key, i, name.data(), &size, nullptr, nullptr, nullptr, nullptr);
        if (status != ERROR_SUCCESS) break;
        std::cout << name.data() << "\\\n";
    }
    for (DWORD i = 0; status == ERROR_NO_MORE_ITEMS; ++i) {
        DWORD nameSize = static_cast<DWORD>(name.size());
        DWORD type = 0, dataSize = 0;
        status = RegEnumValueA(key, i, name.data(), &nameSize, nullptr, &type, nullptr, &dataSize);
        if (status != ERROR_SUCCESS) break;
        ZEVStoredValue value{name.data(), type, std::string(dataSize, '\0')};
        RegQueryValueExA(key, name.data(), nullptr, &type,
                         reinterpret_cast<BYTE*>(value.data.data()), &dataSize);
        std::cout << valueLabel(value.name) << '\t' << typeName(type) << '\t' << showData(value)
                  << '\n';
        status = ERROR_NO_MORE_ITEMS;
    }
    RegCloseKey(key);
    return status == ERROR_NO_MORE_ITEMS ? kSuccess : fail(keyArg, status);
}

int get(const std::string& keyArg, const std::string& name) {
    HKEY key = nullptr;
    LSTATUS status = openKey(keyArg, key);
    if (status != ERROR_SUCCESS) return fail(keyArg, status);
    DWORD type = 0, size = 0;
    status = RegQueryValueExA(key, name.c_str(), nullptr, &type, nullptr, &size);
    ZEVStoredValue value{name, type, std::string(size, '\0')};
    if (status == ERROR_SUCCESS)
        status = RegQueryValueExA(key, name.c_str(), nullptr, &type,
                                  reinterpret_cast<BYTE*>(value.data.data()), &size);
    RegCloseKey(key);
    if (status != ERROR_SUCCESS) return fail(keyArg + " " + valueLabel(name), status);
    std::cout << showData(value) << '\n';
    return kSuccess;
}

// The bytes to store for `text` as `type`; false when the text does not fit the type.
bool encode(const std::string& type, const std::string& text, DWORD& regType, std::string& bytes) {
    if (type == "sz") {
        regType = REG_SZ;
        bytes = text + '\0';
        return true;
    }
    if (type == "dword") {
        regType = REG_DWORD;
        std::optional<long long> n;
        if (text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X')) {
            long long hex = 0;
            auto [end, error] =
                std::from_chars(text.data() + 2, text.data() + text.size(), hex, 16);
            if (error == std::errc() && end == text.data() + text.size()) n = hex;
        } else {
            n = parseWhole(text);
        }
        if (!n || *n < INT32_MIN || *n > UINT32_MAX) return false;
        std::uint32_t word = static_cast<std::uint32_t>(*n);
        bytes.assign(reinterpret_cast<const char*>(&word), 4);
        return true;
    }
    if (type == "binary") {
        regType = REG_BINARY;
        std::string digits;
        for (char c : text) {
            if (c == ' ') continue;
            if (!std::isxdigit(static_cast<unsigned char>(c))) return false;
            digits += c;
        }
        if (digits.size() % 2) return false;
        bytes.clear();
        for (size_t i = 0; i < digits.size(); i += 2)
            bytes += static_cast<char>(std::stoi(digits.substr(i, 2), nullptr, 16));
        return true;
    }
    return false;
}

int set(const std::string& keyArg, const std::string& name, const std::string& type,
        const std::string& text) {
    DWORD regType = REG_NONE;
    std::string bytes;
    if (type != "sz" && type != "dword" && type != "binary")
        throw UsageError("unknown type '" + type + "'");
    if (!encode(type, text, regType, bytes))
        throw UsageError("'" + text + "' is no " + type + " value");
    std::string path = keyArg;
    HKEY root = rootOf(path);
    // Most likely an empty shell variable: a root itself holds no settings of ours.
    if (path.empty())
        throw UsageError(keyArg.empty() ? "KEY is empty: name a key, such as 'Software\\ZEV'"
                                        : "'" + keyArg + "' is a root: name a key below it");
    HKEY key = nullptr;
    LSTATUS status =
        RegCreateKeyExA(root, path.c_str(), 0, nullptr, 0, KEY_WRITE, nullptr, &key, nullptr);
    if (status != ERROR_SUCCESS) return fail(keyArg, status);
    status =
        RegSetValueExA(key, name.c_str(), 0, regType, reinterpret_cast<const BYTE*>(bytes.data()),
                       static_cast<DWORD>(bytes.size()));
    RegCloseKey(key);
    return status == ERROR_SUCCESS ? kSuccess : fail(keyArg + " " + valueLabel(name), status);
}

int remove(const std::string& keyArg, const std::string* name) {
    std::string path = keyArg;
    HKEY root = rootOf(path);
    if (name) {
        HKEY key = nullptr;
        LSTATUS status = RegOpenKeyExA(root, path.c_str(), 0, KEY_ALL_ACCESS, &key);
        if (status != ERROR_SUCCESS) return fail(keyArg, status);
        status = RegDeleteValueA(key, name->c_str());
        RegCloseKey(key);
        return status == ERROR_SUCCESS ? kSuccess : fail(keyArg + " " + valueLabel(*name), status);
    }
    if (path.empty()) throw UsageError("a whole root cannot be deleted");
    LSTATUS status = RegDeleteTreeA(root, path.c_str());
    return status == ERROR_SUCCESS ? kSuccess : fail(keyArg, status);
}

int run(const std::vector<std::string>& args) {
    std::string store, type = "sz";
    std::vector<std::string> words =
        ArgReader(args).text("--store", store).text("--type", type).parse();
    if (words.empty()) throw UsageError("no action given");
    const std::string action = words[0];
    const size_t count = words.size() - 1;

    const StoreOverride storeOverride(store);

    if (action == "list" && count == 1) return list(words[1]);
    if (action == "get" && (count == 1 || count == 2))
        return get(words[1], count == 2 ? words[2] : "");
    if (action == "set" && (count == 2 || count == 3))
        return set(words[1], count == 3 ? words[2] : "", type, words[count]);
    if (action == "delete" && (count == 1 || count == 2))
        return remove(words[1], count == 2 ? &words[2] : nullptr);
    if (action != "list" && action != "get" && action != "set" && action != "delete")
        throw UsageError("unknown action '" + action + "'");
    throw UsageError("wrong number of arguments for '" + action + "'");
}

}  // namespace

ZEV_COMMAND("reg", "look inside the settings store and change it", kHelp, run);
