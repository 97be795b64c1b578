// An optional library with one function, which says when it is freed.
#include <cstdio>

namespace {

const struct Freed {
    ~Freed() { std::puts("freed"); }
} g_freed;

} // namespace

extern "C" __attribute__((visibility("default"))) int PluginAnswer()
{
    return 42;
}
