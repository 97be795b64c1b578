// What this process has of the system's memory; nothing where a sanitizer keeps records of its own.
#pragma once

struct ProcessMemory {
    // All that has addresses.
    long long mappedBytes;
    // In use of the system's own heap; 0 where it does not tell.
    long long allocatedBytes;
};

ProcessMemory CurrentMemory();
