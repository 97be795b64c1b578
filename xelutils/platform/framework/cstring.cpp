#include "xelutils/platform/framework.h"

#include <algorithm>
#include <cstring>

namespace {

int LengthOf(const wchar_t* text)
{
    int length = 0;
    while (text && text[length] != 0)
        ++length;
    return length;
}

} // namespace

CString::CString() = default;

CString::CString(const wchar_t* text) : CString(text, LengthOf(text)) {}

CString::CString(const char* text) : CString(text, text ? static_cast<int>(std::strlen(text)) : 0)
{
}

CString::CString(const wchar_t* text, int length)
{
    if (!text || length < 1)
        return;
    m_text.reserve(static_cast<std::size_t>(length) + 1);
    m_text.assign(text, text + length);
    m_text.push_back(0);
}

CString::CString(const char* text, int length)
{
    if (!text || length < 1)
        return;
    const int wideLength = MultiByteToWideChar(CP_ACP, 0, text, length, nullptr, 0);
    m_text.resize(static_cast<std::size_t>(wideLength) + 1);
    MultiByteToWideChar(CP_ACP, 0, text, length, m_text.data(), wideLength);
}

int CString::GetLength() const
{
    return m_text.empty() ? 0 : static_cast<int>(m_text.size()) - 1;
}

bool CString::IsEmpty() const
{
    return GetLength() == 0;
}

CString::operator const wchar_t*() const
{
    return m_text.empty() ? L"" : m_text.data();
}

bool operator==(const CString& first, const wchar_t* second)
{
    const wchar_t* const text = first;
    const int length = LengthOf(text);
    return length == LengthOf(second) && std::equal(text, text + length, second);
}
