#include "xelutils/system/xel_registry.h"

#include <algorithm>
#include <climits>
#include <utility>

namespace xel_registry {

namespace {

constexpr DWORD kNameCapacity = 256;
constexpr DWORD kQueryValueAccess = 1;

// An open key, closed again unless it was the caller's.
class Key {
public:
    Key() = default;
    ~Key()
    {
        if (m_opened != nullptr)
            RegCloseKey(m_opened);
    }
    Key(const Key&) = delete;
    Key& operator=(const Key&) = delete;

    bool Open(HKEY root, const wchar_t* subKey, DWORD access)
    {
        if (RegOpenKeyExW(root, subKey, 0, access, &m_opened) != ERROR_SUCCESS) {
            m_opened = nullptr;
            return false;
        }
        m_key = m_opened;
        return true;
    }
    void Use(HKEY key) { m_key = key; }
    HKEY Handle() const { return m_key; }

private:
    HKEY m_opened = nullptr;
    HKEY m_key = nullptr;
};

template <class EnumName>
bool EnumNames(HKEY root, const wchar_t* subKey, StringVector& names, EnumName enumName)
{
    Key key;
    // Before the names go: one of them may be the path.
    const bool isOpen = key.Open(root, subKey, 0);
    names.clear();
    if (!isOpen)
        return false;
    wchar_t name[kNameCapacity];
    for (DWORD index = 0;; ++index) {
        DWORD length = kNameCapacity;
        // Any failure ends the list, not only its end: callers rely on the names before it.
        if (enumName(key.Handle(), index, name, &length) != ERROR_SUCCESS)
            return true;
        names.push_back(name);
    }
}

bool OpenForReading(HKEY root, const wchar_t* subKey, Key& key)
{
    if (subKey != nullptr && *subKey != 0)
        return key.Open(root, subKey, kQueryValueAccess);
    key.Use(root);
    return true;
}

bool ReadValue(HKEY root, const wchar_t* subKey, const wchar_t* valueName,
               CXelStringT<wchar_t>& value)
{
    Key key;
    if (!OpenForReading(root, subKey, key))
        return false;
    DWORD type = REG_SZ;
    DWORD sizeBytes = 0;
    if (RegQueryValueExW(key.Handle(), valueName, nullptr, &type, nullptr, &sizeBytes) !=
            ERROR_SUCCESS ||
        sizeBytes > INT_MAX)
        return false;
    // As many characters as there are bytes: twice the room, so that zeros follow text that has no
    // terminator or an odd size. Without any bytes the buffer is the empty text that all share.
    wchar_t* const buffer = value.GetBufferSetLength(static_cast<int>(sizeBytes));
    std::fill_n(buffer, sizeBytes, L'\0');
    const LONG error = RegQueryValueExW(key.Handle(), valueName, nullptr, &type,
                                        reinterpret_cast<BYTE*>(buffer), &sizeBytes);
    value.ReleaseBuffer();
    return error == ERROR_SUCCESS && (type == REG_SZ || type == REG_EXPAND_SZ);
}

} // namespace

bool EnumSections(HKEY root, const wchar_t* subKey, StringVector& names)
{
    return EnumNames(root, subKey, names, [](HKEY key, DWORD index, wchar_t* name, DWORD* length) {
        return RegEnumKeyExW(key, index, name, length, nullptr, nullptr, nullptr, nullptr);
    });
}

bool EnumEntries(HKEY root, const wchar_t* subKey, StringVector& names)
{
    return EnumNames(root, subKey, names, [](HKEY key, DWORD index, wchar_t* name, DWORD* length) {
        return RegEnumValueW(key, index, name, length, nullptr, nullptr, nullptr, nullptr);
    });
}

bool ReadStringValue(HKEY root, const wchar_t* subKey, const wchar_t* valueName,
                     CXelStringT<wchar_t>& value)
{
    // Not into `value` itself: the names may be texts of it.
    CXelStringT<wchar_t> text;
    const bool isText = ReadValue(root, subKey, valueName, text);
    value = std::move(text);
    return isText;
}

} // namespace xel_registry
