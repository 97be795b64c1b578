// check: what files are, and what is wrong or doubtful about them.
#include <algorithm>
#include <map>
#include <string>
#include <utility>

#include "tools/xelini/commands.h"
#include "tools/xelini/document.h"
#include "tools/xelini/output.h"
#include "tools/xelini/settings_reader.h"
#include "xelutils/text/xel_utf.h"

namespace xelini {

namespace {

using namespace xel_text_traits::xel_text_utils;

const char* nameOfMark(const std::string& mark)
{
    const auto* const bytes = reinterpret_cast<const unsigned char*>(mark.data());
    // The mark of UTF-7 is told by the character behind it; it is the one that has no match here.
    switch (detect_bom_header(bytes, static_cast<std::uint32_t>(mark.size()))) {
    case BOM_UTF8:
        return "UTF-8";
    case BOM_UTF16_BE:
        return "UTF-16BE";
    case BOM_UTF16_LE:
        return "UTF-16LE";
    case BOM_UTF32_BE:
        return "UTF-32BE";
    case BOM_UTF32_LE:
        return "UTF-32LE";
    case BOM_SCSU:
        return "SCSU";
    case BOM_UTF_EBCDIC:
        return "UTF-EBCDIC";
    case BOM_BOCU1:
        return "BOCU-1";
    default:
        return "UTF-7";
    }
}

std::string counted(std::size_t count, const char* one, const char* many)
{
    return std::to_string(count) + " " + (count == 1 ? one : many);
}

std::string summary(const Settings& settings, const Document& document)
{
    std::size_t entries = 0;
    for (const auto& [key, section] : settings.store.sections())
        entries += section.entries.size();
    std::string encoding = document.width() == Width::wide ? "UTF-16LE" : "8-bit text";
    if (document.hasForeignMark())
        encoding += std::string(" behind the mark of ") + nameOfMark(document.mark());
    return encoding + ", " + counted(settings.store.sectionCount(), "section", "sections") + ", " +
           counted(entries, "entry", "entries");
}

void warn(const Document& document, std::size_t line, const std::string& text)
{
    printMessage(document.file() + ":" + std::to_string(line) + ": warning: " + text);
}

std::string quoted(const Text& text)
{
    return "'" + xel_text::ToUtf8(text) + "'";
}

void warnOfRepeatedKeys(const Document& document)
{
    std::map<std::pair<std::u16string_view, std::u16string_view>, std::size_t> lineOfKey;
    for (std::size_t i = 0; i < document.lines().size(); ++i) {
        const Line& line = document.lines()[i];
        if (line.kind != LineKind::entry)
            continue;
        std::size_t& earlier =
            lineOfKey[{xel_text::ToUtf16(line.section), xel_text::ToUtf16(line.key)}];
        if (earlier != 0)
            warn(document, i + 1,
                 "key " + quoted(line.key) + " of section " + quoted(line.section) +
                     " repeats line " + std::to_string(earlier) + "; the last one counts");
        earlier = i + 1;
    }
}

bool hasHighByte(const Line& line)
{
    return std::any_of(line.bytes.begin(), line.bytes.end(),
                       [](char c) { return static_cast<unsigned char>(c) > 127; });
}

// Pure ASCII is UTF-8 as well, but means the same as 8-bit text.
void warnOfUtf8(const Document& document)
{
    const auto& lines = document.lines();
    const auto first = std::find_if(lines.begin(), lines.end(), hasHighByte);
    const bool isUtf8 = std::all_of(lines.begin(), lines.end(), [](const Line& line) {
        bool wellFormed = false;
        xel_text::FromUtf8(line.bytes, &wellFormed);
        return wellFormed;
    });
    if (document.width() == Width::narrow && first != lines.end() && isUtf8)
        warn(document, static_cast<std::size_t>(first - lines.begin()) + 1,
             "looks like UTF-8, which devices show garbled; mend it with 'xelini convert " +
                 document.file() + " --encoding 8bit --from utf-8'");
}

void warnOfMark(const Document& document)
{
    if (document.hasForeignMark())
        warn(document, 1,
             std::string("begins with the mark of ") + nameOfMark(document.mark()) +
                 ", but devices read 8-bit text behind it; save the file as 8-bit text or "
                 "UTF-16LE");
}

void warnOfUnreadText(const Document& document)
{
    constexpr const char* kText = "text behind a zero character is not read";
    for (std::size_t i = 0; i < document.lines().size(); ++i)
        if (document.lines()[i].hidesText)
            warn(document, i + 1, kText);
    if (document.tailHasText())
        warn(document, document.lines().size() + 1, kText);
}

void checkFile(const std::string& path)
{
    const HostInput input(path);
    const Document document(input.name(), input.bytes());
    // Before the text is read: a refused line may be refused for just these.
    warnOfMark(document);
    warnOfUtf8(document);
    const Settings settings = readSettings(input);
    warnOfRepeatedKeys(document);
    warnOfUnreadText(document);
    printOutput(path + ": " + summary(settings, document) + "\n");
}

} // namespace

Status check(const Request& request)
{
    Status worst = Status::done;
    for (const std::string& path : request.files) {
        try {
            checkFile(path);
        } catch (const Failure& failure) {
            printMessage(failure.message);
            worst = std::max(worst, failure.status);
        }
    }
    return worst;
}

} // namespace xelini
