// list, get and exists: what a file holds.
#include "tools/xelini/commands.h"
#include "tools/xelini/json.h"
#include "tools/xelini/output.h"
#include "tools/xelini/settings_reader.h"
#include "xelutils/text/xel_utf.h"

namespace xelini {

namespace {

using xel_settings::CThreeTupleSection;
using xel_settings::CThreeTupleStore;
using xel_text::ToUtf8;

// Puts commas between the members of a JSON object.
class Separator {
public:
    const char* next() { return std::exchange(m_text, ",\n"); }

private:
    const char* m_text = "\n";
};

bool isAskedFor(const Request& request, const Text& section)
{
    return !request.section || sameText(*request.section, section);
}

// In the form of a settings file; entries of no section come first, without a header.
std::string plainSection(const CThreeTupleSection& section)
{
    std::string text;
    if (!section.name.IsEmpty())
        text += "[" + ToUtf8(section.name) + "]\n";
    for (const auto& [key, value] : section.entries)
        text += ToUtf8(key) + "=" + ToUtf8(value) + "\n";
    return text;
}

std::string plainList(const CThreeTupleStore& store, const Request& request)
{
    std::string text;
    for (const auto& [name, section] : store.sections()) {
        if (!isAskedFor(request, name))
            continue;
        if (!text.empty())
            text += "\n";
        text += plainSection(section);
    }
    return text;
}

std::string jsonSection(const CThreeTupleSection& section)
{
    std::string text = "  " + jsonString(section.name) + ": {";
    Separator separator;
    for (const auto& [key, value] : section.entries)
        text += separator.next() + ("    " + jsonString(key) + ": " + jsonString(value));
    return text + "\n  }";
}

std::string jsonList(const CThreeTupleStore& store, const Request& request)
{
    std::string text = "{";
    Separator separator;
    for (const auto& [name, section] : store.sections())
        if (isAskedFor(request, name))
            text += separator.next() + jsonSection(section);
    return text + (text.size() > 1 ? "\n}\n" : "}\n");
}

} // namespace

Failure missing(const Request& request)
{
    const std::string section = "section '" + ToUtf8(*request.section) + "'";
    return refusedFile(request.files[0], request.key
                                             ? "no key '" + ToUtf8(*request.key) + "' in " + section
                                             : "no " + section);
}

Status list(const Request& request)
{
    const CThreeTupleStore store = readSettings(request.files[0]).store;
    if (request.section && !store.hasSection(*request.section))
        throw missing(request);
    printOutput(request.json ? jsonList(store, request) : plainList(store, request));
    return Status::done;
}

Status get(const Request& request)
{
    const CThreeTupleStore store = readSettings(request.files[0]).store;
    Text value;
    if (store.getValue(*request.section, *request.key, value))
        printOutput(ToUtf8(value) + "\n");
    else if (request.defaultText)
        printOutput(*request.defaultText + "\n");
    else
        throw missing(request);
    return Status::done;
}

Status exists(const Request& request)
{
    const CThreeTupleStore store = readSettings(request.files[0]).store;
    Text value;
    const bool isThere = request.key ? store.getValue(*request.section, *request.key, value)
                                     : store.hasSection(*request.section);
    return isThere ? Status::done : Status::refused;
}

} // namespace xelini
