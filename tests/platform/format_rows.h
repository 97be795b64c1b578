// Tables of formats, their arguments and the text that comes of them, checked in both widths and
// with buffers of every kind of size.
#pragma once

#include <cstddef>
#include <functional>
#include <gtest/gtest.h>
#include <initializer_list>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "tests/support/print.h"

namespace format_rows {

// Terminated text in a block of exactly its size.
template <class T> class Terminated {
public:
    explicit Terminated(std::string_view latin1)
    {
        for (const char c : latin1)
            m_units.push_back(static_cast<T>(static_cast<unsigned char>(c)));
        m_units.push_back(0);
    }
    operator const T*() const { return m_units.data(); }

private:
    std::vector<T> m_units;
};

template <class T> std::u16string Shown(const T* units, std::size_t count)
{
    std::u16string shown;
    for (std::size_t i = 0; i < count; ++i)
        shown += static_cast<char16_t>(static_cast<std::make_unsigned_t<T>>(units[i]));
    return shown;
}

// Text of the format's own width as an argument, and of the other one.
struct Own {
    explicit Own(std::string_view latin1) : narrow(latin1), wide(latin1) {}
    Terminated<char> narrow;
    Terminated<wchar_t> wide;
};
struct Other : Own {
    using Own::Own;
};

template <class T, class Argument> auto Pass(const Argument& argument)
{
    if constexpr (!std::is_base_of_v<Own, Argument>)
        return argument;
    else if constexpr (std::is_same_v<T, char> != std::is_same_v<Argument, Other>)
        return static_cast<const char*>(argument.narrow);
    else
        return static_cast<const wchar_t*>(argument.wide);
}

// What a format makes of its arguments, in both widths.
class Row {
public:
    template <class... Arguments>
    Row(std::string_view format, std::string_view text, Arguments... arguments)
        : m_format(format), m_text(text),
          m_narrow([=](char* buffer, std::size_t count, const char* pattern) {
              return Print(buffer, count, pattern, Pass<char>(arguments)...);
          }),
          m_wide([=](wchar_t* buffer, std::size_t count, const wchar_t* pattern) {
              return Print(buffer, count, pattern, Pass<wchar_t>(arguments)...);
          })
    {
    }

    void Check() const
    {
        CheckWidth(m_narrow);
        CheckWidth(m_wide);
    }

private:
    template <class T> using Function = std::function<int(T*, std::size_t, const T*)>;

    // With no room, with too little, with none for the terminator, just enough and too much.
    template <class T> void CheckWidth(const Function<T>& print) const
    {
        const std::size_t length = m_text.size();
        for (const std::size_t count :
             {std::size_t{0}, length / 2, length - (length > 0), length, length + 1, length + 6})
            if (!CheckCount(print, count))
                break;
    }

    template <class T> bool CheckCount(const Function<T>& print, std::size_t count) const
    {
        constexpr std::size_t kBehind = 2;
        constexpr T kUntouched = '~';
        const Terminated<T> text(m_text);
        std::u16string expected =
            Shown(static_cast<const T*>(text), m_text.size()).substr(0, count);
        if (count > m_text.size())
            expected += u'\0';
        expected.resize(count + kBehind, kUntouched);
        const int result = count < m_text.size() ? -1 : static_cast<int>(m_text.size());

        std::vector<T> buffer(count + kBehind, kUntouched);
        const int actual = print(buffer.data(), count, Terminated<T>(m_format));
        const std::u16string stored = Shown(buffer.data(), buffer.size());
        EXPECT_EQ(actual, result) << m_format << ", count " << count << ", " << sizeof(T);
        EXPECT_EQ(stored, expected) << m_format << ", count " << count << ", " << sizeof(T);
        return actual == result && stored == expected;
    }

    std::string m_format, m_text;
    Function<char> m_narrow;
    Function<wchar_t> m_wide;
};

// Checks the rows it is made of.
struct CheckAll {
    CheckAll(std::initializer_list<Row> rows)
    {
        for (const Row& row : rows)
            row.Check();
    }
};

} // namespace format_rows
