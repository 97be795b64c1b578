// The host's file that holds the registry.
#pragma once

#include <memory>
#include <string>

#include "xelutils/platform/posix/registry_key.h"

// The file's name, from XEL_REGISTRY, XDG_DATA_HOME and HOME as they stand in the environment; null
// and the empty text say nothing. Empty when there is no folder for user's data.
std::string RegistryFileName(const char* registry, const char* dataHome, const char* home);

// The registry as the file is now. It is read only when the file has changed since the last call;
// what there is to say about it goes to the debugger's output then. Never null: a file that
// cannot be read is a registry without keys. May throw std::bad_alloc.
std::shared_ptr<const Registry> CurrentRegistry();
