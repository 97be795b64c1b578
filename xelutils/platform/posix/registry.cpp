#include <algorithm>
#include <map>
#include <mutex>
#include <new>

#include "xelutils/platform/coredll.h"
#include "xelutils/platform/posix/registry_file.h"
#include "xelutils/platform/posix/wide_length.h"
#include "xelutils/platform/unload.h"

namespace {

using KeyPointer = std::shared_ptr<const RegistryKey>;

// ---- Handles ------------------------------------------------------------------------------

const HKEY kRoots[] = {HKEY_CLASSES_ROOT, HKEY_CURRENT_USER, HKEY_LOCAL_MACHINE, HKEY_USERS};

// The handles of opened keys. One that was closed does not come back soon, and none is taken for
// the handle of a file: those are multiples of four.
class OpenKeys {
public:
    HKEY Add(KeyPointer key)
    {
        const std::lock_guard guard(m_lock);
        do
            m_last = m_last >= kLastNumber ? kFirstNumber : m_last + kStep;
        while (m_keys.count(m_last) != 0);
        m_keys.emplace(m_last, std::move(key));
        return reinterpret_cast<HKEY>(m_last);
    }

    KeyPointer Find(HKEY handle)
    {
        const std::lock_guard guard(m_lock);
        const auto key = m_keys.find(reinterpret_cast<std::uintptr_t>(handle));
        return key == m_keys.end() ? nullptr : key->second;
    }

    bool Remove(HKEY handle)
    {
        // What was the last key of an old state of the file is freed behind the lock.
        std::map<std::uintptr_t, KeyPointer>::node_type removed;
        const std::lock_guard guard(m_lock);
        removed = m_keys.extract(reinterpret_cast<std::uintptr_t>(handle));
        return !removed.empty();
    }

private:
    static constexpr std::uintptr_t kStep = 4;
    static constexpr std::uintptr_t kFirstNumber = 2;
    // Below the roots.
    static constexpr std::uintptr_t kLastNumber = 0x80000000 - kStep + kFirstNumber;

    std::mutex m_lock;
    std::map<std::uintptr_t, KeyPointer> m_keys;
    std::uintptr_t m_last = kLastNumber;
};

OpenKeys& Keys()
{
    // Lasting: keys may still be used while the program ends.
    static OpenKeys& s_keys = MakeLasting<OpenKeys>();
    return s_keys;
}

bool IsRoot(HKEY handle)
{
    return std::find(std::begin(kRoots), std::end(kRoots), handle) != std::end(kRoots);
}

// Null for what is no open key. The key holds the state of the file that it belongs to.
KeyPointer FindOpenKey(HKEY handle)
{
    const auto* const root = std::find(std::begin(kRoots), std::end(kRoots), handle);
    if (root == std::end(kRoots))
        return Keys().Find(handle);
    const std::shared_ptr<const Registry> registry = CurrentRegistry();
    return {registry, &registry->roots[root - kRoots]};
}

// ---- Names and data -----------------------------------------------------------------------

std::u16string TextOf(const wchar_t* text)
{
    return text == nullptr ? std::u16string() : std::u16string(text, text + WideLength(text));
}

const RegistryKey* FindKey(const RegistryKey* key, std::u16string_view path)
{
    while (key != nullptr && !path.empty())
        key = key->keys.Find(TakeKeyName(path));
    return key;
}

DWORD StoreName(const std::u16string& text, wchar_t* name, DWORD* nameLength)
{
    if (text.size() >= *nameLength)
        return ERROR_MORE_DATA;
    std::copy(text.begin(), text.end(), name);
    name[text.size()] = 0;
    *nameLength = static_cast<DWORD>(text.size());
    return ERROR_SUCCESS;
}

DWORD StoreValue(const RegistryValue& value, DWORD* type, BYTE* data, DWORD* dataSize)
{
    if (type != nullptr)
        *type = value.type;
    if (dataSize == nullptr)
        return ERROR_SUCCESS;
    const DWORD room = *dataSize;
    *dataSize = static_cast<DWORD>(value.data.size());
    if (data == nullptr)
        return ERROR_SUCCESS;
    if (value.data.size() > room)
        return ERROR_MORE_DATA;
    std::copy(value.data.begin(), value.data.end(), data);
    return ERROR_SUCCESS;
}

// ---- The calls ----------------------------------------------------------------------------

DWORD OpenKey(HKEY key, const wchar_t* subKey, HKEY* result)
{
    if (result == nullptr)
        return ERROR_INVALID_PARAMETER;
    const KeyPointer from = FindOpenKey(key);
    if (!from)
        return ERROR_INVALID_HANDLE;
    const RegistryKey* const found = FindKey(from.get(), TextOf(subKey));
    if (found == nullptr)
        return ERROR_FILE_NOT_FOUND;
    *result = Keys().Add({from, found});
    return ERROR_SUCCESS;
}

DWORD EnumKey(HKEY key, DWORD index, wchar_t* name, DWORD* nameLength, wchar_t* className,
              DWORD* classLength)
{
    if (name == nullptr || nameLength == nullptr ||
        (className != nullptr && classLength == nullptr))
        return ERROR_INVALID_PARAMETER;
    const KeyPointer from = FindOpenKey(key);
    if (!from)
        return ERROR_INVALID_HANDLE;
    const auto& keys = from->keys.All();
    if (index >= keys.size())
        return ERROR_NO_MORE_ITEMS;
    const DWORD error = StoreName(keys[index]->name, name, nameLength);
    if (error != ERROR_SUCCESS || classLength == nullptr)
        return error;
    if (className != nullptr)
        return StoreName({}, className, classLength);
    *classLength = 0;
    return ERROR_SUCCESS;
}

DWORD EnumValue(HKEY key, DWORD index, wchar_t* name, DWORD* nameLength, DWORD* type, BYTE* data,
                DWORD* dataSize)
{
    if (name == nullptr || nameLength == nullptr || (data != nullptr && dataSize == nullptr))
        return ERROR_INVALID_PARAMETER;
    const KeyPointer from = FindOpenKey(key);
    if (!from)
        return ERROR_INVALID_HANDLE;
    const auto& values = from->values.All();
    if (index >= values.size())
        return ERROR_NO_MORE_ITEMS;
    const DWORD error = StoreName(values[index]->name, name, nameLength);
    return error != ERROR_SUCCESS ? error : StoreValue(*values[index], type, data, dataSize);
}

DWORD QueryValue(HKEY key, const wchar_t* valueName, DWORD* type, BYTE* data, DWORD* dataSize)
{
    if (data != nullptr && dataSize == nullptr)
        return ERROR_INVALID_PARAMETER;
    const KeyPointer from = FindOpenKey(key);
    if (!from)
        return ERROR_INVALID_HANDLE;
    const RegistryValue* const value = from->values.Find(TextOf(valueName));
    return value == nullptr ? ERROR_FILE_NOT_FOUND : StoreValue(*value, type, data, dataSize);
}

// Nothing is thrown at programs of the device.
template <class Call> LONG Result(Call call)
{
    try {
        return static_cast<LONG>(call());
    } catch (const std::bad_alloc&) {
        return ERROR_NOT_ENOUGH_MEMORY;
    }
}

} // namespace

LONG RegOpenKeyExW(HKEY key, const wchar_t* subKey, DWORD /*options*/, DWORD /*access*/,
                   HKEY* result)
{
    return Result([&] { return OpenKey(key, subKey, result); });
}

LONG RegEnumKeyExW(HKEY key, DWORD index, wchar_t* name, DWORD* nameLength, DWORD* reserved,
                   wchar_t* className, DWORD* classLength, FILETIME* lastWrite)
{
    if (reserved != nullptr || lastWrite != nullptr)
        return ERROR_INVALID_PARAMETER;
    return Result([&] { return EnumKey(key, index, name, nameLength, className, classLength); });
}

LONG RegEnumValueW(HKEY key, DWORD index, wchar_t* name, DWORD* nameLength, DWORD* reserved,
                   DWORD* type, BYTE* data, DWORD* dataSize)
{
    if (reserved != nullptr)
        return ERROR_INVALID_PARAMETER;
    return Result([&] { return EnumValue(key, index, name, nameLength, type, data, dataSize); });
}

LONG RegQueryValueExW(HKEY key, const wchar_t* valueName, DWORD* reserved, DWORD* type, BYTE* data,
                      DWORD* dataSize)
{
    if (reserved != nullptr)
        return ERROR_INVALID_PARAMETER;
    return Result([&] { return QueryValue(key, valueName, type, data, dataSize); });
}

LONG RegCloseKey(HKEY key)
{
    return IsRoot(key) || Keys().Remove(key) ? ERROR_SUCCESS : ERROR_INVALID_HANDLE;
}
