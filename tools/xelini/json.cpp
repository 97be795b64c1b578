#include "tools/xelini/json.h"

#include <cstdio>

#include "xelutils/text/xel_utf.h"

namespace xelini {

namespace {

bool isSurrogate(char16_t unit)
{
    return unit >= 0xD800 && unit < 0xE000;
}
bool isPair(char16_t first, char16_t second)
{
    return first >= 0xD800 && first < 0xDC00 && second >= 0xDC00 && second < 0xE000;
}

std::string escaped(char16_t unit)
{
    switch (unit) {
    case u'"':
        return "\\\"";
    case u'\\':
        return "\\\\";
    case u'\n':
        return "\\n";
    case u'\r':
        return "\\r";
    case u'\t':
        return "\\t";
    default:
        char code[8];
        std::snprintf(code, sizeof code, "\\u%04x", static_cast<unsigned>(unit));
        return code;
    }
}

} // namespace

std::string jsonString(const Text& text)
{
    constexpr char16_t kDelete = 0x7F;
    const std::u16string_view units = xel_text::ToUtf16(text);
    std::string json = "\"";
    std::size_t plainStart = 0;
    const auto flush = [&](std::size_t end) {
        json += xel_text::ToUtf8(xel_text::FromUtf16(units.substr(plainStart, end - plainStart)));
    };
    for (std::size_t i = 0; i < units.size(); ++i) {
        const char16_t unit = units[i];
        if (i + 1 < units.size() && isPair(unit, units[i + 1])) {
            ++i;
        } else if (unit < u' ' || unit == u'"' || unit == u'\\' || unit == kDelete ||
                   isSurrogate(unit)) {
            flush(i);
            json += escaped(unit);
            plainStart = i + 1;
        }
    }
    flush(units.size());
    return json + '"';
}

} // namespace xelini
