// The library as a module of a process: what happens while it is loaded and unloaded, whether it
// is a shared library, opened by the program or by the loader, or linked into the program.
//
// Loading, before any static object of the program is made:
//
//   1. the raw entry hook sets the framework's lists of classes and factories aside
//   2. the log registers its end with the exit table, the one initialiser that the library has
//   3. the library registers with the framework as an extension module, with a record of its own
//
// All else is made by the first call that needs it: the heap, the program's paths, the log.
//
// Unloading, or the end of the program, behind its static objects: the record is released, then
// the exit table runs ("Logging finished"), then the raw entry hook for the second time. What was
// allocated from the heap stays: the library never takes memory back that it has handed out, so
// each load whose heap was used leaves that heap's memory behind, 4 MiB at least. A thread that is
// in a trace call meanwhile is waited for, two seconds at most; no other call may be going on, and
// no string, list or store may be left, when the library is taken out of a process.
//
// Static libraries are for one module each. Of two modules in a process that were linked with it,
// each has a heap, a log and a registration of its own: strings must not pass from one to the
// other, and of their logs the one that traces first has the file, the other reaches the
// debugger's output only.
#pragma once

namespace xel_module {

// Nothing here is called by programs. The steps, in the order in which they run.
void RawAttach();
bool Register();
void Unregister();
void RawDetach();

} // namespace xel_module
