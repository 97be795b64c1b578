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
// What is kept is used only while the folder is provably unchanged. One exception: for 100 ms after
// an own change that was noted here, what another program did to the same folder at the same moment
// may stay unseen. The moment is that of the call, or, where the host's clock for files ticks
// slowly, its tick.
std::vector<std::string> NamesInOtherCase(const std::string& folder, const struct stat& status,
                                          std::string_view name);

// Whether it is known without reading the folder, whose status was just read, that nothing in it is
// called `name`, neither as written nor in other case.
bool IsKnownToBeFree(const struct stat& folder, std::string_view name);

// Tells that this call made `hostPath`, an absolute name, after it had looked in its folder for
// such names: what is kept about the folder stays good.
void NoteNewName(const std::string& hostPath);

// The same for a name in the folder whose status is given, or for none when it only replaced what
// had a name; and the folder did not change between the look and `before`.
void NoteOwnChange(const struct stat& before, const struct stat& after, std::string_view newName);
