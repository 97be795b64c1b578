// A document in the other width.
#include "tools/xelini/document.h"
#include "tools/xelini/failure.h"
#include "xelutils/text/xel_utf.h"

namespace xelini {

Document Document::converted(Width width, bool mayCut) const
{
    if (width == m_width && !hasForeignMark())
        return *this;
    if (hasForeignMark())
        throw refusedFile(m_file, "begins with the mark of another encoding; for UTF-8 give --from "
                                  "utf-8, else save it as 8-bit text or UTF-16LE first");
    if (tailHasText() && !mayCut)
        throw refusedLine(m_file, m_lines.size() + 1,
                          "text behind a zero character would be lost; --allow-cut drops it");
    Document result(m_file, width);
    for (std::size_t i = 0; i < m_lines.size(); ++i)
        result.m_lines.push_back(convertedLine(i, width, mayCut));
    if (!tailHasText())
        result.m_tail.assign(m_tail.size() / unitSize(m_width) * unitSize(width), '\0');
    return result;
}

Line Document::convertedLine(std::size_t index, Width width, bool mayCut) const
{
    Line line = m_lines[index];
    refuseHiddenText(m_lines[index], mayCut);
    if (line.hidesText)
        line.bytes.resize(zeroPosition(line.bytes, m_width));
    line.hidesText = false;
    const Text text = decode(line.bytes, m_width);
    const bool isRead = line.kind == LineKind::header || line.kind == LineKind::entry;
    if (width == Width::narrow && isRead &&
        xel_text::ToUtf16(text).find(u'\0') != std::u16string_view::npos)
        throw refusedLine(m_file, index + 1,
                          "text behind a zero character would not be read in 8-bit text; remove it "
                          "first");
    if (width == Width::wide && hasUndefinedBytes(line.bytes))
        throw refusedLine(m_file, index + 1,
                          "bytes that the 8-bit code page does not define would be lost; correct "
                          "them first");
    const std::optional<std::string> bytes = encode(text, width);
    if (!bytes)
        throw refusedLine(m_file, index + 1,
                          firstUnencodable(text) +
                              " is not in the 8-bit code page; replace it first");
    line.bytes = *bytes;
    line.lineBreak = *encode(decode(line.lineBreak, m_width), width);
    return line;
}

} // namespace xelini
