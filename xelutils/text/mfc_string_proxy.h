// Lends the framework's code the text of a string as a CString.
#pragma once

#include <algorithm>

#include "xelutils/platform/framework.h"

namespace xel_text {

template <class T> class CXelStringT;

// What CXelStringT::mfcString returns; use it where a CString& is taken:
//
//   AfxReadLine(file, line.mfcString());
//
// When the proxy dies, the text of a CString that was changed, up to its first zero character, is
// assigned to the string that it came from, which must still be there. A CString that was only read
// leaves the string as it is then.
template <class T> class CMfcStringProxy {
public:
    CMfcStringProxy(const T* text, int length, CXelStringT<T>* owner)
        : m_mfcString(text, length), m_owner(owner), m_lent(m_mfcString)
    {
    }
    ~CMfcStringProxy()
    {
        if (IsChanged())
            *m_owner = m_mfcString;
    }
    CMfcStringProxy(const CMfcStringProxy&) = delete;
    CMfcStringProxy& operator=(const CMfcStringProxy&) = delete;

    operator CString&() { return m_mfcString; }

    CString m_mfcString;
    CXelStringT<T>* m_owner;

private:
    // The whole text counts, also behind a zero character.
    bool IsChanged() const
    {
        const wchar_t* const now = m_mfcString;
        const wchar_t* const lent = m_lent;
        return !std::equal(now, now + m_mfcString.GetLength(), lent, lent + m_lent.GetLength());
    }

    // Not compared with the string itself: that may have been changed meanwhile.
    const CString m_lent;
};

} // namespace xel_text
