#include "xelutils/platform/framework.h"

#include <gtest/gtest.h>

#include <exception>

TEST(TimeSpan, CountsSecondsIn32Bits)
{
    const struct {
        CTimeSpan span;
        LONG seconds;
    } rows[] = {
        {CTimeSpan(), 0},
        {CTimeSpan(90061), 90061},
        {CTimeSpan(1, 1, 1, 1), 90061},
        {CTimeSpan(0, 25, 61, 61), 93721},
        {CTimeSpan(1, -1, 0, -1), 82799},
        {CTimeSpan(24855, 3, 14, 7), 2147483647},
        {CTimeSpan(24855, 3, 14, 8), -2147483647 - 1},
    };
    for (const auto& row : rows)
        EXPECT_EQ(row.span.GetTotalSeconds(), row.seconds);
}

TEST(MemoryException, IsThrownAsTheOnePointer)
{
    CMemoryException* caught[2] = {};
    for (CMemoryException*& each : caught) {
        try {
            AfxThrowMemoryException();
        } catch (const std::exception&) {
            FAIL() << "of another kind";
        } catch (CMemoryException* exception) {
            each = exception;
        }
    }
    EXPECT_NE(caught[0], nullptr);
    EXPECT_EQ(caught[0], caught[1]);
}
