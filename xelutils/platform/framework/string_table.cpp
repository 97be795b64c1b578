#include <algorithm>
#include <functional>
#include <mutex>
#include <new>
#include <optional>
#include <utility>

#include "xelutils/platform/framework.h"
#include "xelutils/platform/framework/resource_file.h"
#include "xelutils/platform/unload.h"

namespace {

// Either one given in code or one read from a file.
struct Table {
    // Null of a file.
    const CStringTableEntry* entries;
    std::size_t count;
    // The file's name as it was given.
    CString fileName;
    // Ascending, each identifier once.
    std::vector<ResourceString> strings;
};

// In order of registration.
struct Tables {
    std::mutex mutex;
    std::vector<Table> all;
};

// Made on first use and lasting: tables may be registered before this file's own statics
// are made, and looked up after they would be gone.
Tables& RegisteredTables()
{
    static Tables& tables = MakeLasting<Tables>();
    return tables;
}

// ---- Looking up ---------------------------------------------------------------------------

struct Text {
    const wchar_t* units;
    std::size_t length;
};

std::optional<Text> FindInEntries(const Table& table, UINT id)
{
    const CStringTableEntry* const end = table.entries + table.count;
    const auto* const entry =
        std::find_if(table.entries, end, [id](const auto& each) { return each.id == id; });
    if (entry == end)
        return std::nullopt;
    std::size_t length = 0;
    while (entry->text[length] != 0)
        ++length;
    return Text{entry->text, length};
}

std::optional<Text> FindInFile(const Table& table, UINT id)
{
    const auto string =
        std::ranges::lower_bound(table.strings, id, std::less<UINT>(), &ResourceString::id);
    if (string == table.strings.end() || string->id != id)
        return std::nullopt;
    return Text{string->text.data(), string->text.size()};
}

// Under the lock, which also guards the text that is found.
std::optional<Text> Find(const std::vector<Table>& tables, UINT id)
{
    for (auto table = tables.rbegin(); table != tables.rend(); ++table) {
        const auto text = table->entries ? FindInEntries(*table, id) : FindInFile(*table, id);
        if (text)
            return text;
    }
    return std::nullopt;
}

template <class Matches> bool RemoveTables(Matches matches)
{
    Tables& tables = RegisteredTables();
    const std::lock_guard lock(tables.mutex);
    return std::erase_if(tables.all, matches) != 0;
}

// ---- Reading files ------------------------------------------------------------------------

// A file's bytes in memory. Without them, the reason is in the last error.
class FileView {
public:
    explicit FileView(const wchar_t* name)
    {
        const HANDLE file = CreateFileForMappingW(name, GENERIC_READ, FILE_SHARE_READ, nullptr,
                                                  OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
        if (file == INVALID_HANDLE_VALUE)
            return;
        DWORD sizeHigh = 0;
        m_size = GetFileSize(file, &sizeHigh);
        if (m_size == 0 || sizeHigh != 0)
            SetLastError(ERROR_BAD_FORMAT);
        else
            Map(file);
        CloseHandle(file);
    }
    ~FileView()
    {
        if (m_view != nullptr)
            UnmapViewOfFile(m_view);
    }
    FileView(const FileView&) = delete;
    FileView& operator=(const FileView&) = delete;

    const unsigned char* Bytes() const { return static_cast<const unsigned char*>(m_view); }
    std::size_t Size() const { return m_size; }

private:
    void Map(HANDLE file)
    {
        const HANDLE mapping = CreateFileMappingW(file, nullptr, PAGE_READONLY, 0, 0, nullptr);
        if (mapping == nullptr)
            return;
        m_view = MapViewOfFile(mapping, FILE_MAP_READ, 0, 0, 0);
        CloseHandle(mapping);
    }

    const void* m_view = nullptr;
    std::size_t m_size = 0;
};

// False with the last error set.
bool ReadResourceFile(const wchar_t* name, std::vector<ResourceString>& strings)
{
    const FileView view(name);
    if (view.Bytes() == nullptr)
        return false;
    if (!ReadResourceStrings(view.Bytes(), view.Size(), strings)) {
        SetLastError(ERROR_BAD_FORMAT);
        return false;
    }
    return true;
}

// Of the same identifier the first string stays.
void SortById(std::vector<ResourceString>& strings)
{
    std::ranges::stable_sort(strings, std::less<UINT>(), &ResourceString::id);
    const auto sameId = [](const ResourceString& first, const ResourceString& second) {
        return first.id == second.id;
    };
    strings.erase(std::unique(strings.begin(), strings.end(), sameId), strings.end());
}

} // namespace

void RegisterStringTable(const CStringTableEntry* entries, std::size_t count)
{
    Tables& tables = RegisteredTables();
    const std::lock_guard lock(tables.mutex);
    tables.all.push_back({entries, count, {}, {}});
}

bool UnregisterStringTable(const CStringTableEntry* entries)
{
    return entries != nullptr &&
           RemoveTables([entries](const Table& table) { return table.entries == entries; });
}

bool RegisterStringResources(const wchar_t* fileName)
{
    try {
        Table table{nullptr, 0, fileName, {}};
        if (!ReadResourceFile(fileName, table.strings))
            return false;
        SortById(table.strings);
        Tables& tables = RegisteredTables();
        const std::lock_guard lock(tables.mutex);
        tables.all.push_back(std::move(table));
        return true;
    } catch (const std::bad_alloc&) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return false;
    }
}

bool UnregisterStringResources(const wchar_t* fileName)
{
    return RemoveTables([fileName](const Table& table) {
        return table.entries == nullptr && table.fileName == fileName;
    });
}

int AfxLoadString(UINT id, wchar_t* buffer, UINT size)
{
    if (!buffer || size < 1)
        return 0;
    std::size_t length = 0;
    Tables& tables = RegisteredTables();
    const std::lock_guard lock(tables.mutex);
    if (const auto text = Find(tables.all, id & 0xFFFF)) {
        length = std::min<std::size_t>(text->length, size - 1);
        std::copy_n(text->units, length, buffer);
    }
    buffer[length] = 0;
    return static_cast<int>(length);
}
