#include <algorithm>
#include <mutex>

#include "xelutils/platform/framework.h"

namespace {

struct Table {
    const CStringTableEntry* entries;
    std::size_t count;
};

// In order of registration.
struct Tables {
    std::mutex mutex;
    std::vector<Table> all;
};

// Made on first use and never destroyed: tables may be registered before this file's own statics
// are made, and looked up after they would be gone.
Tables& RegisteredTables()
{
    static Tables& tables = *new Tables;
    return tables;
}

// Null when no table has it.
const wchar_t* FindText(UINT id)
{
    Tables& tables = RegisteredTables();
    const std::lock_guard lock(tables.mutex);
    for (auto table = tables.all.rbegin(); table != tables.all.rend(); ++table) {
        const CStringTableEntry* const end = table->entries + table->count;
        const auto* const entry =
            std::find_if(table->entries, end, [id](const auto& each) { return each.id == id; });
        if (entry != end)
            return entry->text;
    }
    return nullptr;
}

} // namespace

void RegisterStringTable(const CStringTableEntry* entries, std::size_t count)
{
    Tables& tables = RegisteredTables();
    const std::lock_guard lock(tables.mutex);
    tables.all.push_back({entries, count});
}

bool UnregisterStringTable(const CStringTableEntry* entries)
{
    Tables& tables = RegisteredTables();
    const std::lock_guard lock(tables.mutex);
    return std::erase_if(tables.all,
                         [entries](const Table& table) { return table.entries == entries; }) != 0;
}

int AfxLoadString(UINT id, wchar_t* buffer, UINT size)
{
    if (!buffer || size < 1)
        return 0;
    UINT length = 0;
    if (const wchar_t* const text = FindText(id & 0xFFFF)) {
        for (; length + 1 < size && text[length] != 0; ++length)
            buffer[length] = text[length];
    }
    buffer[length] = 0;
    return static_cast<int>(length);
}
