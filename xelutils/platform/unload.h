// What a process keeps when the library is taken out of it, and what not.
#pragma once

#include <utility>

// True from the beginning of an unload, when the process goes on without the library. At the end
// of a process it stays false: threads and late destructors may go on using everything.
bool IsUnloading();

// By the host's part of this: an unload begins.
void NoteUnloading();

// Calls function(argument) at the very end of an unload, the latest one first; never at the end of
// a process. Safe from several threads.
void AtUnload(void (*function)(void*), void* argument);

// An object for a static reference that must outlive every other static: it goes when the library
// is unloaded and stays until the end of a process otherwise.
template <class T, class... Arguments> T& MakeLasting(Arguments&&... arguments)
{
    T* const object = new T(std::forward<Arguments>(arguments)...);
    AtUnload([](void* lasting) { delete static_cast<T*>(lasting); }, object);
    return *object;
}
