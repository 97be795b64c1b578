#include "xelutils/settings/xel_settings.h"

#include <algorithm>

#include "xelutils/settings/internal/store_filler.h"
#include "xelutils/text/internal/text_scan.h"

namespace xel_settings {

using String = xel_text::CXelStringT<wchar_t>;

namespace {

bool SameText(const String& first, const String& second)
{
    return std::ranges::equal(first, second);
}

// The section of that key, created with its name when it is missing.
CThreeTupleSection& SectionOf(CThreeTupleStore::Sections& sections, const String& key)
{
    auto place = sections.lower_bound(key);
    if (place == sections.end() || CodeUnitLess{}(key, place->first)) {
        place = sections.try_emplace(place, key);
        place->second.name = key;
    }
    return place->second;
}

// Returns the entry. `hint` is where it is expected to go.
template <class Entries>
auto SetEntry(Entries& entries, typename Entries::iterator hint, const String& key,
              const String& value)
{
    const std::size_t before = entries.size();
    const auto entry = entries.try_emplace(hint, key, value);
    if (entries.size() == before)
        entry->second = value;
    return entry;
}

} // namespace

bool CodeUnitLess::operator()(const String& first, const String& second) const
{
    const auto firstLength = static_cast<std::size_t>(first.end() - first.begin());
    const auto secondLength = static_cast<std::size_t>(second.end() - second.begin());
    const std::size_t shorter = std::min(firstLength, secondLength);
    const std::size_t equal = xel_text::scan::EqualUnits(first.begin(), second.begin(), shorter);
    if (equal == shorter)
        return firstLength < secondLength;
    return static_cast<std::uint16_t>(first.begin()[equal]) <
           static_cast<std::uint16_t>(second.begin()[equal]);
}

bool CThreeTupleSection::operator==(const CThreeTupleSection& other) const
{
    return SameText(name, other.name) &&
           std::ranges::equal(entries, other.entries, [](const auto& first, const auto& second) {
               return SameText(first.first, second.first) && SameText(first.second, second.second);
           });
}

void CThreeTupleStore::clear()
{
    m_sections.clear();
}

void CThreeTupleStore::setValue(const String& section, const String& key, const String& value)
{
    auto& entries = SectionOf(m_sections, section).entries;
    SetEntry(entries, entries.lower_bound(key), key, value);
}

bool CThreeTupleStore::getValue(const String& section, const String& key, String& value) const
{
    const auto place = m_sections.find(section);
    if (place == m_sections.end())
        return false;
    const auto entry = place->second.entries.find(key);
    if (entry == place->second.entries.end())
        return false;
    value = entry->second;
    return true;
}

bool CThreeTupleStore::hasSection(const String& section) const
{
    return m_sections.contains(section);
}

bool CThreeTupleStore::removeSection(const String& section)
{
    return m_sections.erase(section) != 0;
}

bool CThreeTupleStore::removeValue(const String& section, const String& key)
{
    const auto place = m_sections.find(section);
    return place != m_sections.end() && place->second.entries.erase(key) != 0;
}

std::size_t CThreeTupleStore::sectionCount() const
{
    return m_sections.size();
}

std::size_t CThreeTupleStore::valueCount(const String& section) const
{
    const auto place = m_sections.find(section);
    return place == m_sections.end() ? 0 : place->second.entries.size();
}

bool CThreeTupleStore::operator==(const CThreeTupleStore& other) const
{
    return std::ranges::equal(
        m_sections, other.m_sections, [](const auto& first, const auto& second) {
            return SameText(first.first, second.first) && first.second == second.second;
        });
}

void CStoreFiller::setSection(const String& section)
{
    m_sectionKey = section;
    m_section = nullptr;
}

void CStoreFiller::setValue(const String& key, const String& value)
{
    if (!m_section) {
        m_section = &SectionOf(m_store.m_sections, m_sectionKey);
        m_place = m_section->entries.end();
    }
    auto& entries = m_section->entries;
    const auto entry = SetEntry(entries, m_place, key, value);
    // From the last entry a step forward climbs the whole tree, a step back from the end none.
    m_place = entry == std::prev(entries.end()) ? entries.end() : std::next(entry);
}

} // namespace xel_settings
