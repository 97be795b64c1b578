// Which characters take no cell of a terminal, and which take two.
#pragma once

#include <cstddef>

struct CharacterRange {
    char32_t first;
    char32_t last;
};

// In ascending order.
extern const CharacterRange kNoCell[];
extern const std::size_t kNoCellCount;
extern const CharacterRange kTwoCells[];
extern const std::size_t kTwoCellsCount;
