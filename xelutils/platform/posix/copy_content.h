// The bytes of one host file into another.
#pragma once

#include <sys/stat.h>

// Copies from the start of `source`, whose status was just read, to the empty file `target`; both
// are descriptors. Shares the blocks where the file system can, and keeps holes of large files.
// What the source grows by meanwhile is left behind; when it shrinks, what is there is copied.
// Returns 0 or the host's error.
int CopyContent(int source, const struct stat& status, int target);
