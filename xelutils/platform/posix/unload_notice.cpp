#include "xelutils/platform/unload.h"

namespace {

// dlclose calls these before the exit table of the library; the end of a process calls all exit
// tables first.
[[gnu::destructor]] void NoteClosing()
{
    NoteUnloading();
}

} // namespace
