// A folder by its name, for work that takes many calls.
#pragma once

#include <cstddef>
#include <string>

// While it lives, names on this thread that begin with the text of `folder`, and that text itself,
// mean the folder that was found there, or nothing: when another thread or program removes it, they
// do not pass to a sibling whose name differs in case only, and what was spelt in other case does
// not pass to a folder made later. Does nothing for a folder that does not exist.
//
// For a removal above all, which would go on in the other folder. Of several, the one made last
// counts. May change the last error.
class FolderPin {
public:
    explicit FolderPin(const wchar_t* folder);
    ~FolderPin();
    FolderPin(const FolderPin&) = delete;
    FolderPin& operator=(const FolderPin&) = delete;

    // Puts the name that was found in the place of the text; names of the host. False when `path`
    // does not begin with that text.
    bool Replace(std::string& path) const;
    std::size_t FoundLength() const { return m_found.size(); }

private:
    // What the text resolved to, and the folder found there; both empty when there is none.
    std::string m_resolved;
    std::string m_found;
    const FolderPin* const m_outer;
};
