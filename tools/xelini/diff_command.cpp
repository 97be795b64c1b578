// diff: how the entries of two files differ. Order, comments and encoding do not count.
#include <vector>

#include "tools/xelini/commands.h"
#include "tools/xelini/json.h"
#include "tools/xelini/output.h"
#include "tools/xelini/settings_reader.h"
#include "xelutils/text/xel_utf.h"

namespace xelini {

namespace {

using xel_text::ToUtf8;
using Section = xel_settings::CThreeTupleSection;
using Sections = xel_settings::CThreeTupleStore::Sections;
using Entries = decltype(Section::entries);

// Null on the side that lacks it.
struct Difference {
    const Text* section;
    const Text* key;
    const Text* first;
    const Text* second;
};

// Calls `visit(key, first, second)` for every key of two maps in their order, with null for what
// one of them lacks.
template <class Map, class Visit> void walkBoth(const Map& first, const Map& second, Visit visit)
{
    auto a = first.begin();
    auto b = second.begin();
    const auto less = first.key_comp();
    while (a != first.end() || b != second.end()) {
        if (b == second.end() || (a != first.end() && less(a->first, b->first))) {
            visit(a->first, &a->second, nullptr);
            ++a;
        } else if (a == first.end() || less(b->first, a->first)) {
            visit(b->first, nullptr, &b->second);
            ++b;
        } else {
            visit(a->first, &a->second, &b->second);
            ++a;
            ++b;
        }
    }
}

std::vector<Difference> differences(const Sections& first, const Sections& second)
{
    static const Entries none;
    std::vector<Difference> found;
    walkBoth(first, second, [&](const Text& name, const Section* a, const Section* b) {
        walkBoth(a ? a->entries : none, b ? b->entries : none,
                 [&](const Text& key, const Text* valueA, const Text* valueB) {
                     if (!valueA || !valueB || !sameText(*valueA, *valueB))
                         found.push_back({&name, &key, valueA, valueB});
                 });
    });
    return found;
}

std::string plainDifferences(const std::vector<Difference>& differences)
{
    std::string text;
    const Text* section = nullptr;
    for (const Difference& each : differences) {
        if (!section || !sameText(*section, *each.section)) {
            section = each.section;
            text += (text.empty() ? "[" : "\n[") + ToUtf8(*section) + "]\n";
        }
        if (each.first)
            text += "-" + ToUtf8(*each.key) + "=" + ToUtf8(*each.first) + "\n";
        if (each.second)
            text += "+" + ToUtf8(*each.key) + "=" + ToUtf8(*each.second) + "\n";
    }
    return text;
}

std::string jsonSide(const Text* value)
{
    return value ? jsonString(*value) : "null";
}

std::string jsonDifferences(const std::vector<Difference>& differences)
{
    std::string text = "{";
    const Text* section = nullptr;
    for (const Difference& each : differences) {
        if (section && sameText(*section, *each.section)) {
            text += ",\n";
        } else {
            text += section ? "\n  },\n  " : "\n  ";
            text += jsonString(*each.section) + ": {\n";
            section = each.section;
        }
        text += "    " + jsonString(*each.key) + ": {\"a\": " + jsonSide(each.first) +
                ", \"b\": " + jsonSide(each.second) + "}";
    }
    return text + (section ? "\n  }\n}\n" : "}\n");
}

} // namespace

Status diff(const Request& request)
{
    const Settings a = readSettings(request.files[0]);
    const Settings b = readSettings(request.files[1]);
    const std::vector<Difference> found = differences(a.store.sections(), b.store.sections());
    printOutput(request.json ? jsonDifferences(found) : plainDifferences(found));
    return found.empty() ? Status::done : Status::refused;
}

} // namespace xelini
