// The numbers and lists that the benchmarks of the conversions work on.
#pragma once

#include <cstddef>
#include <iterator>
#include <string>
#include <vector>

namespace bench {

constexpr std::size_t kNumbers = 8;
constexpr int kIntegers[kNumbers] = {-42,        1999,    65535,    -123456,
                                     2147483647, 8061995, 31415926, -1073741824};
constexpr const char* kIntegerTexts[kNumbers] = {
    "-42", "1999", "65535", "-123456", "2147483647", "8061995", "31415926", "-1073741824"};
constexpr double kDoubles[kNumbers] = {0.5,  3.14159,     -273.15, 1013.25,
                                       98.6, -98765.4375, 0.001,   42};
constexpr const char* kDoubleTexts[kNumbers] = {"0.5",  "3.14159",     "-273.15", "1013.25",
                                                "98.6", "-98765.4375", "0.001",   "42"};
// With all the digits that a double has.
constexpr double kPreciseDoubles[kNumbers] = {
    3.141592653589793,  -273.15000000000003, 1013.2499847412, 0.30000000000000004,
    -2.718281828459045, 98.60000000000001,   6.02214076e23,   -0.00012345678901234};
constexpr const char* kPreciseTexts[kNumbers] = {
    "3.141592653589793",  "-273.15000000000003", "1013.2499847412", "0.30000000000000004",
    "-2.718281828459045", "98.60000000000001",   "6.02214076e23",   "-0.00012345678901234"};
// Ours leaves out trailing zeros of these; QString and snprintf do not.
constexpr int kDecimals = 12;
constexpr char kKey[] = "brightness";

// The numbers by turns.
class Turn {
public:
    std::size_t next() { return m_next++ % kNumbers; }

private:
    std::size_t m_next = 0;
};

// The values of a line, as settings hold them, and the line with blanks around its commas.
inline const std::vector<std::u16string>& Values()
{
    static const std::vector<std::u16string> values{
        u"pressure",   u"temperature", u"humidity",   u"",        u"1013",
        u"wind speed", u"direction",   u"visibility", u"ceiling", u"dew point"};
    return values;
}
constexpr char16_t kLine[] = u"pressure, temperature , humidity,,1013,wind speed ,direction,"
                             u"  visibility,ceiling, dew point\r\n";

inline const std::vector<std::u16string>& Words()
{
    static const std::vector<std::u16string> words{u"pressure", u"temperature", u"humidity",
                                                   u"1013",     u"wind",        u"speed",
                                                   u"ceiling",  u"dew",         u"point"};
    return words;
}
constexpr char16_t kWordLine[] =
    u"pressure temperature; humidity 1013  wind speed ceiling;dew point";
constexpr char16_t kWordEnds[] = u" ;";

constexpr char16_t kJoined[] =
    u"pressure,temperature,humidity,,1013,wind speed,direction,visibility,ceiling,dew point";

} // namespace bench
