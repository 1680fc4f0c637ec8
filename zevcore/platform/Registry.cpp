#include "zevcore/platform/Registry.h"

#include <algorithm>
#include <cstring>
#include <unordered_set>

namespace {

using KeyId = IZEVSettingsStore::KeyId;

// An open key: which store it belongs to, which key, and what it may do.
struct OpenKeyRecord {
    IZEVSettingsStore* store;
    KeyId id;
    REGSAM access;
};

// Handles are checked against this set before use, so a stale or made-up handle gets
// ERROR_INVALID_HANDLE instead of being followed.
std::unordered_set<OpenKeyRecord*>& liveHandles() {
    static std::unordered_set<OpenKeyRecord*> live;
    return live;
}

bool isRoot(HKEY key) {
    auto number = reinterpret_cast<std::uintptr_t>(key);
    return number >= 0x80000000u && number <= 0x8000000Fu;
}

// The key a handle stands for in the current store.
LSTATUS resolve(HKEY key, KeyId& id, REGSAM& access) {
    IZEVSettingsStore& store = ZEVSettingsStore();
    if (isRoot(key)) {
        id = store.RootKey(key);
        access = KEY_ALL_ACCESS;
        return id ? ERROR_SUCCESS : ERROR_INVALID_HANDLE;
    }
    auto* record = reinterpret_cast<OpenKeyRecord*>(key);
    if (!key || !liveHandles().count(record) || record->store != &store)
        return ERROR_INVALID_HANDLE;
    id = record->id;
    access = record->access;
    return ERROR_SUCCESS;
}

// As resolve, for a call that needs the rights `needed` on the key.
LSTATUS resolveFor(HKEY key, REGSAM needed, KeyId& id) {
    REGSAM access = 0;
    LSTATUS status = resolve(key, id, access);
    if (status == ERROR_SUCCESS && (access & needed) != needed) return ERROR_ACCESS_DENIED;
    return status;
}

// Splits a key path at its backslashes. A trailing backslash is allowed; an empty part
// elsewhere is not.
LSTATUS splitPath(const char* path, std::vector<std::string>& parts) {
    parts.clear();
    if (!path || !*path) return ERROR_SUCCESS;
    std::string whole = path;
    if (whole.back() == '\\') whole.pop_back();
    size_t start = 0;
    for (;;) {
        size_t end = whole.find('\\', start);
        std::string part = whole.substr(start, end == std::string::npos ? end : end - start);
        if (part.empty()) return ERROR_BAD_PATHNAME;
        if (part.size() > ZEV_MAX_KEY_NAME) return ERROR_INVALID_PARAMETER;
        parts.push_back(std::move(part));
        if (end == std::string::npos) return ERROR_SUCCESS;
        start = end + 1;
    }
}

HKEY issue(KeyId id, REGSAM access) {
    auto* record = new OpenKeyRecord{&ZEVSettingsStore(), id, access};
    liveHandles().insert(record);
    return reinterpret_cast<HKEY>(record);
}

LSTATUS openOrCreate(HKEY key, const char* subKey, bool create, REGSAM wanted, HKEY* result,
                     DWORD* disposition) {
    if (!result) return ERROR_INVALID_PARAMETER;
    KeyId parent = 0;
    REGSAM access = 0;
    LSTATUS status = resolve(key, parent, access);
    if (status != ERROR_SUCCESS) return status;
    std::vector<std::string> parts;
    if ((status = splitPath(subKey, parts)) != ERROR_SUCCESS) return status;
    if (create && !parts.empty() && !(access & KEY_CREATE_SUB_KEY)) return ERROR_ACCESS_DENIED;
    KeyId id = 0;
    bool created = false;
    status = ZEVSettingsStore().OpenKey(parent, parts, create, id, created);
    if (status != ERROR_SUCCESS) return status;
    *result = issue(id, wanted);
    if (disposition) *disposition = created ? REG_CREATED_NEW_KEY : REG_OPENED_EXISTING_KEY;
    return ERROR_SUCCESS;
}

std::string nameOf(const char* name) {
    return name ? name : "";
}

// Copies a name into a caller's buffer of `*size` bytes by the enumeration rules.
LSTATUS giveName(const std::string& name, char* buffer, DWORD* size) {
    if (!buffer || !size) return ERROR_INVALID_PARAMETER;
    if (*size == 0) return ERROR_MORE_DATA;
    const DWORD room = *size - 1;
    const DWORD length = static_cast<DWORD>(name.size());
    const DWORD copied = std::min(room, length);
    std::memcpy(buffer, name.data(), copied);
    buffer[copied] = '\0';
    *size = copied;
    return length > room ? ERROR_MORE_DATA : ERROR_SUCCESS;
}

// Copies a value's bytes by the query rules.
LSTATUS giveData(const ZEVStoredValue& value, DWORD* type, BYTE* data, DWORD* size) {
    if (data && !size) return ERROR_INVALID_PARAMETER;
    if (type) *type = value.type;
    const DWORD length = static_cast<DWORD>(value.data.size());
    if (!size) return ERROR_SUCCESS;
    const DWORD room = *size;
    *size = length;
    if (!data) return ERROR_SUCCESS;
    if (room < length) return ERROR_MORE_DATA;
    std::memcpy(data, value.data.data(), length);
    return ERROR_SUCCESS;
}

}  // namespace

LSTATUS RegCreateKeyExA(HKEY key, const char* subKey, DWORD, char*, DWORD, REGSAM access, void*,
                        HKEY* result, DWORD* disposition) {
    return openOrCreate(key, subKey, true, access, result, disposition);
}

LSTATUS RegCreateKeyA(HKEY key, const char* subKey, HKEY* result) {
    return openOrCreate(key, subKey, true, KEY_ALL_ACCESS, result, nullptr);
}

LSTATUS RegOpenKeyExA(HKEY key, const char* subKey, DWORD, REGSAM access, HKEY* result) {
    return openOrCreate(key, subKey, false, access, result, nullptr);
}

LSTATUS RegOpenKeyA(HKEY key, const char* subKey, HKEY* result) {
    return openOrCreate(key, subKey, false, KEY_ALL_ACCESS, result, nullptr);
}

LSTATUS RegCloseKey(HKEY key) {
    if (isRoot(key)) return ERROR_SUCCESS;
    auto* record = reinterpret_cast<OpenKeyRecord*>(key);
    if (!key || liveHandles().erase(record) == 0) return ERROR_INVALID_HANDLE;
    delete record;
    return ERROR_SUCCESS;
}

LSTATUS RegQueryValueExA(HKEY key, const char* name, DWORD*, DWORD* type, BYTE* data, DWORD* size) {
    KeyId id = 0;
    LSTATUS status = resolveFor(key, KEY_QUERY_VALUE, id);
    if (status != ERROR_SUCCESS) return status;
    if (data && !size) return ERROR_INVALID_PARAMETER;
    ZEVStoredValue value;
    status = ZEVSettingsStore().QueryValue(id, nameOf(name), value);
    if (status != ERROR_SUCCESS) return status;
    return giveData(value, type, data, size);
}

LSTATUS RegSetValueExA(HKEY key, const char* name, DWORD, DWORD type, const BYTE* data,
                       DWORD size) {
    KeyId id = 0;
    LSTATUS status = resolveFor(key, KEY_SET_VALUE, id);
    if (status != ERROR_SUCCESS) return status;
    if (!data && size != 0) return ERROR_INVALID_PARAMETER;
    if (nameOf(name).size() > ZEV_MAX_KEY_NAME) return ERROR_INVALID_PARAMETER;
    ZEVStoredValue value{nameOf(name), type,
                         data ? std::string(reinterpret_cast<const char*>(data), size) : ""};
    return ZEVSettingsStore().SetValue(id, value);
}

LSTATUS RegDeleteValueA(HKEY key, const char* name) {
    KeyId id = 0;
    LSTATUS status = resolveFor(key, KEY_SET_VALUE, id);
    if (status != ERROR_SUCCESS) return status;
    return ZEVSettingsStore().DeleteValue(id, nameOf(name));
}

namespace {

LSTATUS deleteBelow(HKEY key, const char* subKey, bool tree) {
    KeyId parent = 0;
    REGSAM access = 0;
    LSTATUS status = resolve(key, parent, access);
    if (status != ERROR_SUCCESS) return status;
    std::vector<std::string> parts;
    if ((status = splitPath(subKey, parts)) != ERROR_SUCCESS) return status;
    KeyId id = parent;
    bool created = false;
    if (!parts.empty()) {
        status = ZEVSettingsStore().OpenKey(parent, parts, false, id, created);
        if (status != ERROR_SUCCESS) return status;
    }
    // A tree removal named by its own handle empties the key and keeps it.
    return ZEVSettingsStore().DeleteKey(id, tree, tree && parts.empty());
}

}  // namespace

LSTATUS RegDeleteKeyA(HKEY key, const char* subKey) {
    return deleteBelow(key, subKey, false);
}

LSTATUS RegDeleteTreeA(HKEY key, const char* subKey) {
    return deleteBelow(key, subKey, true);
}

LSTATUS RegEnumKeyExA(HKEY key, DWORD index, char* name, DWORD* nameSize, DWORD*, char* keyClass,
                      DWORD* classSize, FILETIME* lastWrite) {
    KeyId id = 0;
    LSTATUS status = resolveFor(key, KEY_ENUMERATE_SUB_KEYS, id);
    if (status != ERROR_SUCCESS) return status;
    std::vector<std::string> names;
    IZEVSettingsStore& store = ZEVSettingsStore();
    if ((status = store.SubKeys(id, names)) != ERROR_SUCCESS) return status;
    if (index >= names.size()) return ERROR_NO_MORE_ITEMS;
    if (keyClass && classSize && *classSize > 0) {
        keyClass[0] = '\0';
        *classSize = 0;
    }
    if (lastWrite) {
        std::vector<std::string> one{names[index]};
        KeyId child = 0;
        bool created = false;
        std::int64_t ms = 0;
        if (store.OpenKey(id, one, false, child, created) == ERROR_SUCCESS)
            store.WriteTime(child, ms);
        // 100-ns steps from 1601 to 1970, then the key's time.
        const std::uint64_t ticks = 116444736000000000ull + static_cast<std::uint64_t>(ms) * 10000;
        lastWrite->dwLowDateTime = static_cast<DWORD>(ticks & 0xffffffffu);
        lastWrite->dwHighDateTime = static_cast<DWORD>(ticks >> 32);
    }
    return giveName(names[index], name, nameSize);
}

LSTATUS RegEnumValueA(HKEY key, DWORD index, char* name, DWORD* nameSize, DWORD*, DWORD* type,
                      BYTE* data, DWORD* dataSize) {
    KeyId id = 0;
    LSTATUS status = resolveFor(key, KEY_QUERY_VALUE, id);
    if (status != ERROR_SUCCESS) return status;
    std::vector<ZEVStoredValue> values;
    if ((status = ZEVSettingsStore().Values(id, values)) != ERROR_SUCCESS) return status;
    if (index >= values.size()) return ERROR_NO_MORE_ITEMS;
    status = giveName(values[index].name, name, nameSize);
    if (status != ERROR_SUCCESS) return status;
    return giveData(values[index], type, data, dataSize);
}
