#include "xelutils/platform/framework.h"

#include <gtest/gtest.h>

#include <exception>

TEST(TimeSpan, CountsSecondsIn32Bits)
{
    const struct {
        const char* rule;
        CTimeSpan span;
        LONG seconds;
    } rows[] = {
        {"none", CTimeSpan(), 0},
        {"seconds", CTimeSpan(90061), 90061},
        {"negative", CTimeSpan(-1), -1},
        {"days to seconds", CTimeSpan(1, 1, 1, 1), 90061},
        {"parts need not be small", CTimeSpan(0, 25, 61, 61), 93721},
        {"parts may be negative", CTimeSpan(1, -1, 0, -1), 82799},
        {"the largest", CTimeSpan(24855, 3, 14, 7), 2147483647},
        {"one more wraps", CTimeSpan(24855, 3, 14, 8), -2147483647 - 1},
        {"any days", CTimeSpan(2147483647, 0, 0, 0), -86400},
    };
    for (const auto& row : rows)
        EXPECT_EQ(row.span.GetTotalSeconds(), row.seconds) << row.rule;
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
