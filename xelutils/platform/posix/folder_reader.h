// The names in a folder, in blocks as the host hands them out.
#pragma once

#include <string_view>

// Hands out a block of names at a time, without "." and "..". Within a block no name comes twice;
// while the folder changes, a name may come again in a later block.
class FolderReader {
public:
    // Reads from `descriptor`, an open folder, which stays the caller's.
    explicit FolderReader(int descriptor) : m_descriptor(descriptor) {}

    // Fetches the next block; false at the end, and on failure with errno set (0 at the end).
    bool NextBlock();

    // The next name of the block, terminated, which is valid until the next block is fetched; empty
    // when there is no further one.
    std::string_view NextName();

    // DT_DIR and the like for the name handed out last.
    unsigned char Type() const { return m_type; }

private:
    static constexpr std::size_t kBlockBytes = 32 * 1024;

    const int m_descriptor;
    unsigned char m_type = 0;
    std::size_t m_position = 0;
    std::size_t m_length = 0;
    alignas(8) char m_block[kBlockBytes];
};
