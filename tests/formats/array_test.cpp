#include <gtest/gtest.h>

#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "xelutils/formats/xel_array.h"
#include "xelutils/memory/dlmalloc.h"

namespace {

// Writes down what is done with its objects. Has no default constructor.
class Traced {
public:
    explicit Traced(int number) : m_number(number) {}
    Traced(const Traced& other) : m_number(other.m_number) { Note("copy", m_number); }
    Traced(Traced&& other) : m_number(other.m_number) { Note("MOVE", m_number); }
    Traced& operator=(const Traced& other)
    {
        Note("assign", other.m_number);
        m_number = other.m_number;
        return *this;
    }
    Traced& operator=(Traced&& other)
    {
        Note("MOVE-ASSIGN", other.m_number);
        m_number = other.m_number;
        return *this;
    }
    ~Traced() { Note("destroy", m_number); }

    // What was written down since this was last asked.
    static std::string TakeNotes() { return std::exchange(s_notes, {}); }

private:
    static void Note(const char* what, int number)
    {
        s_notes += (s_notes.empty() ? "" : ", ") + (what + (" " + std::to_string(number)));
    }
    static inline std::string s_notes;
    int m_number;
};

using TracedArray = xel_templ::CXelArray<Traced, const Traced&>;
using IntArray = xel_templ::CXelArray<int, const int&>;

IntArray Numbers(std::initializer_list<int> numbers)
{
    IntArray array;
    for (const int number : numbers)
        array.push_back(number);
    return array;
}

std::vector<int> Values(const IntArray& array)
{
    return {array.begin(), array.end()};
}

std::uint32_t HeapInUse()
{
    std::uint32_t most = 0, obtained = 0, inUse = 0;
    dlmalloc_stats2(&most, &obtained, &inUse);
    return inUse;
}

TEST(Array, MakesRoomForOneAndThenDoubles)
{
    const std::uint32_t inUse = HeapInUse();
    {
        IntArray array;
        EXPECT_TRUE(array.empty() && array.begin() == array.end());
        EXPECT_EQ(HeapInUse(), inUse) << "an empty array has no storage";
        std::vector<std::size_t> capacities{array.capacity()};
        for (int i = 0; i < 9; ++i) {
            array.push_back(i);
            capacities.push_back(array.capacity());
        }
        EXPECT_EQ(capacities, (std::vector<std::size_t>{0, 1, 2, 4, 4, 8, 8, 8, 8, 16}));
        EXPECT_EQ(Values(array), (std::vector<int>{0, 1, 2, 3, 4, 5, 6, 7, 8}));
        EXPECT_GT(HeapInUse(), inUse) << "storage does not come from the library's heap";
    }
    EXPECT_EQ(HeapInUse(), inUse);
}

TEST(Array, HasTheLayoutOfAVector)
{
    IntArray array = Numbers({1, 2, 3});
    static_assert(sizeof array == 3 * sizeof(int*));
    int* words[3];
    std::memcpy(words, &array, sizeof words);
    EXPECT_EQ(words[0], array.begin());
    EXPECT_EQ(words[1], array.begin() + 3);
    EXPECT_EQ(words[2], array.begin() + 4);
}

TEST(Array, CopiesItsElementsAndNeverMovesThem)
{
    const Traced one(1), two(2), three(3);
    {
        TracedArray array;
        array.push_back(one);
        array.push_back(two);
        array.push_back(three);
        EXPECT_EQ(Traced::TakeNotes(), "copy 1, copy 1, copy 2, destroy 1, "
                                       "copy 1, copy 2, copy 3, destroy 1, destroy 2");
        array.push_back(one);
        EXPECT_EQ(Traced::TakeNotes(), "copy 1");
        array.erase(array.begin() + 1, array.begin() + 2);
        EXPECT_EQ(Traced::TakeNotes(), "assign 3, assign 1, destroy 1");
        array.erase(array.begin() + 1, array.begin() + 1);
        EXPECT_EQ(Traced::TakeNotes(), "");
    }
    EXPECT_EQ(Traced::TakeNotes(), "destroy 1, destroy 3, destroy 1");
}

TEST(Array, ErasesRangesAndKeepsItsRoom)
{
    const struct {
        std::size_t from, to;
        std::vector<int> left;
    } rows[] = {
        {0, 5, {}},  {0, 1, {1, 2, 3, 4}},    {4, 5, {0, 1, 2, 3}},    {1, 3, {0, 3, 4}},
        {0, 4, {4}}, {5, 5, {0, 1, 2, 3, 4}}, {3, 1, {0, 1, 2, 3, 4}}, {3, 6, {0, 1, 2, 3, 4}},
    };
    for (const auto& row : rows) {
        IntArray array = Numbers({0, 1, 2, 3, 4});
        int* const storage = array.begin();
        int* const from = storage + row.from;
        EXPECT_EQ(array.erase(from, storage + row.to), from);
        EXPECT_EQ(Values(array), row.left) << row.from << ".." << row.to;
        EXPECT_EQ(array.capacity(), 8U);
    }

    IntArray empty;
    EXPECT_EQ(empty.erase(empty.begin(), empty.end()), empty.end());
}

TEST(Array, RoomThatIsKeptIsUsedAgain)
{
    IntArray array = Numbers({0, 1, 2, 3, 4});
    const int* const storage = array.begin();
    const std::uint32_t inUse = HeapInUse();
    array.clear();
    EXPECT_TRUE(array.empty());
    EXPECT_EQ(array.capacity(), 8U);
    for (int i = 0; i < 8; ++i)
        array.push_back(i);
    EXPECT_EQ(array.begin(), storage);
    EXPECT_EQ(HeapInUse(), inUse);
}

TEST(Array, TakesElementsOfItsOwn)
{
    IntArray array = Numbers({1, 2, 3, 4});
    // Once when it must grow, once when there is room.
    array.push_back(array[0]);
    array.push_back(array[1]);
    EXPECT_EQ(Values(array), (std::vector<int>{1, 2, 3, 4, 1, 2}));
}

struct Large {
    unsigned char bytes[1 << 21];
};

TEST(ArrayDeathTest, EndsTheProgramWhenTheHeapIsExhausted)
{
    const auto fill = [] {
        static const Large large{};
        std::signal(SIGABRT, [](int) {
            std::fputs("aborted\n", stderr);
            std::_Exit(1);
        });
        while (dlmalloc(sizeof large)) {
        }
        xel_templ::CXelArray<Large, const Large&> array;
        array.push_back(large);
    };
    EXPECT_DEATH(fill(), "aborted");
}

} // namespace
