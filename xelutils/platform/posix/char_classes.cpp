#include "xelutils/platform/coredll.h"
#include "xelutils/platform/posix/text_tables.h"

int _isctype(int c, int mask)
{
    static_assert(_UPPER == kUpperBit && _LOWER == kLowerBit && _DIGIT == kDigitBit &&
                  _SPACE == kSpaceBit);
    constexpr int kLetterMask = _ALPHA & ~(_UPPER | _LOWER);
    constexpr int kOwnBits = _UPPER | _LOWER | _DIGIT | _SPACE;
    if (c < 0 || c > 0xFFFF)
        return 0;
    const int bits = kClassPages[kClassPageOf[c >> 8]][c & 0xFF];
    const int classes = (bits & kOwnBits) | ((bits & kLetterBit) != 0 ? kLetterMask : 0);
    return classes & mask;
}

int iswctype(wchar_t c, unsigned short mask)
{
    return _isctype(c, mask);
}
