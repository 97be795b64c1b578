// A registry in memory: keys with their sub-keys and values, in the order in which they came.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "xelutils/platform/coredll.h"
#include "xelutils/platform/posix/case_tables.h"

struct NameHash {
    // FNV-1a over units without case.
    std::size_t operator()(std::u16string_view name) const
    {
        std::uint32_t hash = 0x811C9DC5;
        for (const char16_t unit : name)
            hash = (hash ^ FoldCase(static_cast<wchar_t>(unit))) * 0x01000193u;
        return hash;
    }
};

struct SameName {
    bool operator()(std::u16string_view first, std::u16string_view second) const
    {
        if (first.size() != second.size())
            return false;
        for (std::size_t i = 0; i < first.size(); ++i) {
            if (FoldCase(static_cast<wchar_t>(first[i])) !=
                FoldCase(static_cast<wchar_t>(second[i])))
                return false;
        }
        return true;
    }
};

// Items with a `name`, found without case. An item keeps its place, and the spelling of its name
// that came first.
template <class Item> class NamedItems {
public:
    Item* Find(std::u16string_view name) const
    {
        const auto place = m_places.find(name);
        return place == m_places.end() ? nullptr : m_items[place->second].get();
    }

    Item& FindOrAdd(std::u16string_view name)
    {
        if (Item* const item = Find(name))
            return *item;
        auto item = std::make_unique<Item>();
        item->name = name;
        m_items.push_back(std::move(item));
        Item& added = *m_items.back();
        m_places.emplace(added.name, m_items.size() - 1);
        return added;
    }

    // Leaves a gap, since moving up all that follow each time would make large files slow.
    void Remove(std::u16string_view name)
    {
        const auto place = m_places.find(name);
        if (place == m_places.end())
            return;
        const std::size_t index = place->second;
        m_places.erase(place);
        m_items[index] = nullptr;
    }

    void CloseGaps()
    {
        if (m_places.size() == m_items.size())
            return;
        std::erase(m_items, nullptr);
        for (std::size_t index = 0; index < m_items.size(); ++index)
            m_places[m_items[index]->name] = index;
    }

    // In order. There are null pointers among them until the gaps are closed.
    const std::vector<std::unique_ptr<Item>>& All() const { return m_items; }

private:
    std::vector<std::unique_ptr<Item>> m_items;
    // By the names in the items.
    std::unordered_map<std::u16string_view, std::size_t, NameHash, SameName> m_places;
};

struct RegistryValue {
    // Empty for the default value of a key.
    std::u16string name;
    DWORD type = REG_NONE;
    std::vector<BYTE> data;
};

struct RegistryKey {
    std::u16string name;
    NamedItems<RegistryKey> keys;
    NamedItems<RegistryValue> values;
};

// Keys lie no deeper, so that walks may be recursive.
constexpr std::size_t kMaxRegistryDepth = 512;

constexpr std::u16string_view kRegistryRoots[] = {u"HKEY_CLASSES_ROOT", u"HKEY_CURRENT_USER",
                                                  u"HKEY_LOCAL_MACHINE", u"HKEY_USERS"};

struct Registry {
    // In the order of kRegistryRoots.
    RegistryKey roots[std::size(kRegistryRoots)];
};

// Takes the first name off a path of keys. A closing separator leaves no empty name behind it.
inline std::u16string_view TakeKeyName(std::u16string_view& path)
{
    const std::u16string_view name = path.substr(0, path.find(u'\\'));
    path.remove_prefix(name.size() == path.size() ? path.size() : name.size() + 1);
    return name;
}
