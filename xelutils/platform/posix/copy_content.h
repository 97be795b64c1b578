// The bytes of one host file into another.
#pragma once

struct statx;

// Copies from the start of `source`, whose status was just read, to the empty file `target`; both
// are descriptors. Shares the blocks where the file system can, and keeps holes of large files.
// Returns 0 or the host's error.
int CopyContent(int source, const struct statx& status, int target);
