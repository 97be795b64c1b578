// Sets many values of a store one after the other, as a file has them.
#pragma once

#include "xelutils/settings/xel_settings.h"

namespace xel_settings {

// Does what CThreeTupleStore::setValue does, but remembers its place: files mostly hold their
// sections in one piece and their keys in order.
class CStoreFiller {
public:
    using String = xel_text::CXelStringT<wchar_t>;

    explicit CStoreFiller(CThreeTupleStore& store) : m_store(store) {}

    // The section of the values to come; it is created with the first of them.
    void setSection(const String& section);
    void setValue(const String& key, const String& value);

private:
    CThreeTupleStore& m_store;
    String m_sectionKey;
    // Null until the section has a value.
    CThreeTupleSection* m_section = nullptr;
    // Behind the last entry set.
    decltype(CThreeTupleSection::entries)::iterator m_place;
};

} // namespace xel_settings
