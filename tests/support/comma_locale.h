// Runs tests in the program's plain locale and in one with a decimal comma.
#pragma once

#include <gtest/gtest.h>

#include <clocale>
#include <cstring>
#include <ostream>

enum class TestLocale { Plain, Comma };

inline const char* Name(TestLocale locale)
{
    return locale == TestLocale::Plain ? "Plain" : "Comma";
}

inline void PrintTo(TestLocale locale, std::ostream* out)
{
    *out << Name(locale);
}

// The locale of the test's parameter, taken back at the end. Where the host has no locale with a
// comma, the tests in it are skipped.
template <class Base>
class InEachLocale : public Base, public testing::WithParamInterface<TestLocale> {
protected:
    void SetUp() override
    {
        Base::SetUp();
        if (GetParam() == TestLocale::Comma && !SwitchToComma())
            GTEST_SKIP() << "no locale with a decimal comma";
    }
    void TearDown() override
    {
        std::setlocale(LC_ALL, "C");
        Base::TearDown();
    }

private:
    static bool SwitchToComma()
    {
        for (const char* name : {"de_DE.UTF-8", "de_DE.utf8", "German"}) {
            if (std::setlocale(LC_ALL, name) &&
                std::strcmp(std::localeconv()->decimal_point, ",") == 0)
                return true;
        }
        return false;
    }
};

// The suite of tests in both locales.
#define INSTANTIATE_IN_EACH_LOCALE(Suite)                                                          \
    INSTANTIATE_TEST_SUITE_P(Locale, Suite, testing::Values(TestLocale::Plain, TestLocale::Comma), \
                             [](const auto& info) { return Name(info.param); })
