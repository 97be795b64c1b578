// What system_bench loads.
extern "C" __attribute__((visibility("default"))) int PluginAnswer()
{
    return 42;
}
