// Shorthand of the string tests: texts of both widths from one literal, and the whole state of a
// string as one line that can be compared and read.
#pragma once

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "xelutils/memory/dlmalloc.h"
#include "xelutils/text/xel_string.h"

namespace string_tests {

using namespace std::string_view_literals;

using xel_text::CXelStringT;
using Narrow = CXelStringT<char>;
using Wide = CXelStringT<wchar_t>;
using Widths = testing::Types<char, wchar_t>;

template <class T> constexpr const T* kNull = nullptr;

// Latin-1 bytes, zeros included, as terminated text of either width; `{}` gives the null pointer.
template <class T> class Text {
public:
    Text(std::string_view latin1) : m_units(latin1.begin(), latin1.end()), m_null(!latin1.data())
    {
        for (T& unit : m_units)
            unit &= 0xFF;
        m_units.push_back(T{});
    }
    operator const T*() const { return m_null ? nullptr : m_units.data(); }

private:
    std::vector<T> m_units;
    bool m_null;
};

// A string of exactly these units.
template <class T> CXelStringT<T> Str(std::string_view latin1)
{
    return {static_cast<const T*>(Text<T>(latin1)), static_cast<int>(latin1.size())};
}

template <class T> const xel_text::CXelStringData<T>& Header(const CXelStringT<T>& text)
{
    return reinterpret_cast<const xel_text::CXelStringData<T>*>(text.GetString())[-1];
}

template <class T> bool IsNil(const CXelStringT<T>& text)
{
    return static_cast<const void*>(text.GetString()) == Wide().GetString();
}

template <class T> std::u16string Units(const CXelStringT<T>& text)
{
    std::u16string units;
    for (const T unit : text)
        units += static_cast<char16_t>(static_cast<std::make_unsigned_t<T>>(unit));
    return units;
}

// The stored text, units outside printable ASCII in hex; "/" capacity; and how it is held:
//
//   ab<0><20AC>/6 x2   two owners
//   abc/3 locked
//   /0 nil
template <class T> std::string Look(const CXelStringT<T>& text)
{
    const auto& header = Header(text);
    std::string look;
    if (header.dataLength < 0)
        look += "length " + std::to_string(header.dataLength) + " of ";
    for (const char16_t unit : Units(text)) {
        char shown[8];
        std::snprintf(shown, sizeof shown, unit < 0x20 || unit > 0x7E ? "<%X>" : "%c", unit);
        look += shown;
    }
    look += "/" + std::to_string(header.allocLength);
    look += IsNil(text)           ? " nil"
            : header.refCount < 0 ? " locked"
                                  : " x" + std::to_string(header.refCount);
    if (header.dataLength > header.allocLength)
        look += " LONGER THAN THE BLOCK";
    else if (header.dataLength >= 0 && text.GetString()[header.dataLength] != 0)
        look += " NOT TERMINATED";
    return look;
}

inline std::uint32_t HeapInUse()
{
    std::uint32_t most = 0, obtained = 0, inUse = 0;
    dlmalloc_stats2(&most, &obtained, &inUse);
    return inUse;
}

// Each test gives back every block, and leaves the nil data as it is.
class StringStatesTest : public testing::Test {
protected:
    void TearDown() override
    {
        EXPECT_EQ(HeapInUse(), m_inUse) << "a block leaked";
        EXPECT_EQ(Look(Wide()), "/0 nil");
        EXPECT_EQ(Look(Narrow()), "/0 nil");
        EXPECT_EQ(Header(Wide()).refCount, -1);
        EXPECT_EQ(*Wide().GetString(), 0) << "the nil data was written";
    }

private:
    std::uint32_t m_inUse = HeapInUse();
};

// How a string is held before something is done with it. The roomy ones have capacity 8.
enum Held { Nil, Sole, Roomy, Shared, RoomyShared, Locked, RoomyLocked };

// Something done with a string; its result, or 0 where it has none.
template <class T> class Act {
public:
    template <class Function> Act(Function function)
    {
        if constexpr (std::is_void_v<std::invoke_result_t<Function, CXelStringT<T>&>>)
            m_run = [function](CXelStringT<T>& text) { return function(text), 0; };
        else
            m_run = function;
    }
    int operator()(CXelStringT<T>& text) const { return m_run(text); }

private:
    std::function<int(CXelStringT<T>&)> m_run;
};

template <class T> struct Row {
    const char* what;
    Held held;
    std::string_view text;
    // As Look gives it. A leading "=" demands that the block is the one from before.
    std::string_view look;
    Act<T> act;
    int returns = 0;
};

// Does it, and sees that another holder of the block keeps its text whatever is done.
template <class T> void Check(const Row<T>& row)
{
    constexpr int kRoomy = 8;
    SCOPED_TRACE(row.what);
    CXelStringT<T> text = Str<T>(row.text), other;
    if (row.held == Roomy || row.held == RoomyShared || row.held == RoomyLocked)
        text.GetBuffer(kRoomy);
    const int capacity = text.GetAllocLength();
    if (row.held == Shared || row.held == RoomyShared)
        other = text;
    if (row.held == Locked || row.held == RoomyLocked)
        text.LockBuffer();
    const T* const before = text.GetString();

    EXPECT_EQ(row.act(text), row.returns);

    const bool inPlace = row.look.starts_with('=');
    EXPECT_EQ(Look(text), row.look.substr(inPlace));
    EXPECT_TRUE(!inPlace || text.GetString() == before) << "not in place";
    if (!IsNil(other)) {
        EXPECT_EQ(Units(other), Units(Str<T>(row.text))) << "the other holder's text changed";
        EXPECT_EQ(other.GetAllocLength(), capacity);
        EXPECT_EQ(Header(other).refCount, text.GetString() == other.GetString() ? 2 : 1);
    }
}

template <class T, std::size_t N> void Check(const Row<T> (&rows)[N])
{
    for (const Row<T>& row : rows)
        Check(row);
}

// In the child of a death test, whose failures are not shown otherwise.
template <class Checks> [[noreturn]] void ExitAfter(Checks checks)
{
    testing::TestPartResultArray failures;
    {
        using testing::ScopedFakeTestPartResultReporter;
        const ScopedFakeTestPartResultReporter reporter(
            ScopedFakeTestPartResultReporter::INTERCEPT_ALL_THREADS, &failures);
        checks();
    }
    for (int i = 0; i < failures.size(); ++i)
        std::fprintf(stderr, "%s\n", failures.GetTestPartResult(i).message());
    std::exit(failures.size() != 0);
}

} // namespace string_tests
