// Where the formatter puts its text: a buffer of a fixed number of units, and what did not fit.
#pragma once

#include <algorithm>
#include <climits>
#include <cstddef>
#include <cstring>
#include <type_traits>

#include "xelutils/platform/coredll.h"

template <class T> class FormatOutput {
public:
    using Other = std::conditional_t<std::is_same_v<T, char>, wchar_t, char>;

    FormatOutput(T* buffer, std::size_t count)
        : m_first(buffer), m_at(buffer),
          m_end(buffer + std::min<std::size_t>(count, INT_MAX / sizeof(T)))
    {
    }

    // Something did not fit; the buffer is full then.
    bool IsCut() const { return m_cut; }
    std::size_t Room() const { return static_cast<std::size_t>(m_end - m_at); }

    void Put(T unit)
    {
        if (m_at != m_end)
            *m_at++ = unit;
        else
            m_cut = true;
    }

    void Fill(char character, std::size_t count)
    {
        const std::size_t fitting = Fitting(count);
        m_at = std::fill_n(m_at, fitting, static_cast<T>(character));
    }

    void Put(const T* text, std::size_t length)
    {
        const std::size_t fitting = Fitting(length);
        if (fitting != 0)
            std::memcpy(m_at, text, fitting * sizeof(T));
        m_at += fitting;
    }

    // Digits and the like.
    void PutAscii(const char* text, std::size_t length)
    {
        const std::size_t fitting = Fitting(length);
        for (std::size_t i = 0; i < fitting; ++i)
            m_at[i] = static_cast<T>(text[i]);
        m_at += fitting;
    }

    // The length of text of the other width in units of this one.
    static std::size_t ConvertedLength(const Other* text, std::size_t length)
    {
        return static_cast<std::size_t>(Convert(text, length, nullptr, 0));
    }

    void PutConverted(const Other* text, std::size_t length, std::size_t convertedLength)
    {
        const std::size_t fitting = Fitting(convertedLength);
        // Half a character is not stored: in its place stays a zero, where the text ends.
        if (fitting < convertedLength)
            std::fill_n(m_at, fitting, T{});
        if (fitting != 0)
            Convert(text, length, m_at, fitting);
        m_at += fitting;
    }

    // The formatter's result; see _vsnprintf.
    int Finish()
    {
        if (m_cut)
            return -1;
        if (m_at != m_end)
            *m_at = 0;
        return static_cast<int>(m_at - m_first);
    }

private:
    std::size_t Fitting(std::size_t length)
    {
        if (length <= Room())
            return length;
        m_cut = true;
        return Room();
    }

    static int Convert(const char* text, std::size_t length, wchar_t* target, std::size_t size)
    {
        return MultiByteToWideChar(CP_ACP, 0, text, static_cast<int>(length), target,
                                   static_cast<int>(size));
    }
    static int Convert(const wchar_t* text, std::size_t length, char* target, std::size_t size)
    {
        return WideCharToMultiByte(CP_ACP, 0, text, static_cast<int>(length), target,
                                   static_cast<int>(size), nullptr, nullptr);
    }

    T* m_first;
    T* m_at;
    T* m_end;
    bool m_cut = false;
};
