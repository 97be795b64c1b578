#include <cstdint>

#include "xelutils/files/file_funcs_ex.h"
#include "xelutils/platform/framework.h"

namespace FileFuncsEx {

namespace {

constexpr int kEllipsisLength = 3;

// False when the text cannot be measured, in the font that the context has.
bool Measure(const CWindowDC& window, const CXelStringT<wchar_t>& text, LONG& width)
{
    SIZE size = {};
    const HDC context = window.GetSafeHdc();
    if (context == nullptr ||
        !GetTextExtentExPointW(context, text, text.GetLength(), 0, nullptr, nullptr, &size))
        return false;
    width = size.cx;
    return true;
}

// The client width less a tenth of it, which is cut to whole units.
std::int64_t AvailableWidth(HWND window)
{
    RECT client = {};
    GetClientRect(window, &client);
    const std::int64_t width = std::int64_t{client.right} - client.left;
    return width - static_cast<std::int64_t>(static_cast<double>(width) * 0.1);
}

// Takes one piece after the other out of a path, from the left.
class Shortener {
public:
    Shortener(CXelStringT<wchar_t>& text, wchar_t separator) : m_text(text), m_separator(separator)
    {
    }

    // False when there is nothing more to take.
    bool Shorten()
    {
        m_separatorIndex = m_text.Find(m_separator, m_separatorIndex);
        if (m_separatorIndex < 0)
            return false;
        return m_hasEllipsis ? RemoveComponent() : PutEllipsis();
    }

private:
    // In place of the first component behind a separator that is no shorter than the ellipsis.
    bool PutEllipsis()
    {
        int start = m_separatorIndex + 1;
        int end = m_text.Find(m_separator, start);
        while (end > start && end - start < kEllipsisLength) {
            start = end + 1;
            end = m_text.Find(m_separator, start);
        }
        if (end <= start)
            return false;
        for (int i = 0; i < kEllipsisLength; ++i)
            m_text.SetAt(start + i, '.');
        m_separatorIndex = start + kEllipsisLength;
        m_text.Delete(m_separatorIndex, end - m_separatorIndex);
        m_hasEllipsis = true;
        return true;
    }

    // The one behind the ellipsis, with the separator in front of it.
    bool RemoveComponent()
    {
        const int end = m_text.Find(m_separator, m_separatorIndex + 1);
        if (end < 0)
            return false;
        m_text.Delete(m_separatorIndex, end - m_separatorIndex);
        return true;
    }

    CXelStringT<wchar_t>& m_text;
    const wchar_t m_separator;
    // Once there is an ellipsis, of the separator behind it.
    int m_separatorIndex = 0;
    bool m_hasEllipsis = false;
};

} // namespace

CXelStringT<wchar_t> CompactPath(HWND window, const wchar_t* path, wchar_t separator)
{
    constexpr int kLengthThatKeepsSeparator = 3;
    CXelStringT<wchar_t> text = path;
    const int lastIndex = text.GetLength() - 1;
    const bool hadSeparator =
        text.GetLength() > kLengthThatKeepsSeparator && text.GetAt(lastIndex) == separator;
    if (hadSeparator)
        text.Delete(lastIndex);

    // Where nothing can be measured the separator stays away; callers rely on it.
    if (window == nullptr || text.IsEmpty())
        return text;
    const std::int64_t available = AvailableWidth(window);
    if (available <= 0)
        return text;
    const CWindowDC context(window);
    LONG width = 0;
    if (!Measure(context, text, width))
        return text;

    Shortener shortener(text, separator);
    while (width > available && shortener.Shorten() && Measure(context, text, width)) {
    }
    if (hadSeparator)
        text += separator;
    return text;
}

} // namespace FileFuncsEx
