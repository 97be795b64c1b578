#include "xelutils/platform/unload.h"

#include <atomic>
#include <cstdlib>

namespace {

struct Action {
    void (*function)(void*);
    void* argument;
    Action* next;
};

constinit std::atomic<bool> g_isUnloading = false;
constinit std::atomic<Action*> g_newest = nullptr;

void RunActions()
{
    if (!IsUnloading())
        return;
    Action* action = g_newest.exchange(nullptr);
    while (action != nullptr) {
        Action* const next = action->next;
        action->function(action->argument);
        delete action;
        action = next;
    }
}

// Before everything else in the exit table, and so last in its turn.
struct LastExit {
    LastExit() { std::atexit(RunActions); }
};
[[gnu::init_priority(101)]] const LastExit g_lastExit;

} // namespace

void NoteUnloading()
{
    g_isUnloading = true;
}

bool IsUnloading()
{
    return g_isUnloading;
}

void AtUnload(void (*function)(void*), void* argument)
{
    auto* const action = new Action{function, argument, g_newest};
    while (!g_newest.compare_exchange_weak(action->next, action))
        ;
}
