// The names in folders without regard to case, kept between calls: a program that looks for many
// files that are not there, or makes many, must not cost a scan of the folder each time.
#pragma once

#include <string>
#include <string_view>
#include <sys/stat.h>
#include <vector>

// The names in `folder`, whose status was just read, that differ from `name` in case only; sorted
// by their bytes. None of a folder that cannot be read. Some may be gone already.
//
// What is kept is used only while the folder is provably unchanged. One exception: after
// NoteNewName, what another program did to the same folder at the same moment may stay unseen for
// 100 ms.
std::vector<std::string> NamesInOtherCase(const std::string& folder, const struct stat& status,
                                          std::string_view name);

// Tells that this call made `hostPath`, an absolute name, after it had looked in its folder for
// such names: what is kept about the folder stays good.
void NoteNewName(const std::string& hostPath);
