// Speed of the heap. Every heap is called through function pointers in the same loops.
#include <algorithm>
#include <cstdint>
#include <numeric>
#include <random>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "allocators.h"
#include "bench_main.h"

namespace {

using bench::Heap;

constexpr std::uint32_t kChurnMin = 8;
constexpr std::uint32_t kChurnMax = 512;
constexpr std::size_t kChurnSteps = std::size_t{1} << 18;
// What a node of an ordered map of two strings takes.
constexpr std::uint32_t kNodeBytes = 48;
constexpr std::size_t kNodes = 100'000;
constexpr std::uint32_t kReallocStep = 16;
constexpr std::uint32_t kReallocMax = 4096;

template <class Size> void Pair(benchmark::State& state, Heap<Size> heap, std::uint32_t size)
{
    for (auto _ : state) {
        void* block = heap.allocate(size);
        benchmark::DoNotOptimize(block);
        heap.release(block);
    }
}

struct Step {
    std::uint32_t slot;
    std::uint32_t size;
};

std::vector<Step> ChurnSteps(std::uint32_t live)
{
    std::mt19937 random(live);
    std::uniform_int_distribution<std::uint32_t> slot(0, live - 1);
    std::uniform_int_distribution<std::uint32_t> size(kChurnMin, kChurnMax);
    std::vector<Step> steps(kChurnSteps);
    for (Step& step : steps)
        step = {slot(random), size(random)};
    return steps;
}

template <class Size> void* AllocateAndTouch(const Heap<Size>& heap, std::uint32_t size)
{
    void* block = heap.allocate(size);
    *static_cast<std::uint32_t*>(block) = size;
    return block;
}

// Gives back a random one of `live` blocks and takes a new one of random size in its place.
template <class Size> void Churn(benchmark::State& state, Heap<Size> heap, std::uint32_t live)
{
    const std::vector<Step> steps = ChurnSteps(live);
    std::vector<void*> blocks(live);
    for (std::uint32_t i = 0; i < live; ++i)
        blocks[i] = AllocateAndTouch(heap, steps[i % kChurnSteps].size);
    // The figures of a program that has run for a while, not of a fresh heap.
    for (const Step& step : steps) {
        heap.release(blocks[step.slot]);
        blocks[step.slot] = AllocateAndTouch(heap, step.size);
    }
    std::size_t next = 0;
    for (auto _ : state) {
        const Step step = steps[next];
        next = (next + 1) % kChurnSteps;
        heap.release(blocks[step.slot]);
        blocks[step.slot] = AllocateAndTouch(heap, step.size);
    }
    for (void* block : blocks)
        heap.release(block);
}

std::vector<std::uint32_t> RandomOrder(std::size_t count)
{
    std::vector<std::uint32_t> order(count);
    std::iota(order.begin(), order.end(), 0);
    std::shuffle(order.begin(), order.end(), std::mt19937(1));
    return order;
}

// Takes `count` blocks of random sizes and gives them all back in random order.
template <class Size>
void FillAndEmpty(benchmark::State& state, Heap<Size> heap, std::uint32_t count)
{
    const std::vector<Step> steps = ChurnSteps(count);
    const std::vector<std::uint32_t> order = RandomOrder(count);
    std::vector<void*> blocks(count);
    std::size_t next = 0;
    for (auto _ : state) {
        for (void*& block : blocks) {
            block = AllocateAndTouch(heap, steps[next].size);
            next = (next + 1) % kChurnSteps;
        }
        for (std::uint32_t i : order)
            heap.release(blocks[i]);
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * count));
}

// Takes 100 000 nodes in order and gives them back in random order.
template <class Size> void MapNodes(benchmark::State& state, Heap<Size> heap)
{
    const std::vector<std::uint32_t> order = RandomOrder(kNodes);
    std::vector<void*> nodes(kNodes);
    for (auto _ : state) {
        for (void*& node : nodes)
            node = AllocateAndTouch(heap, kNodeBytes);
        for (std::uint32_t i : order)
            heap.release(nodes[i]);
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * kNodes));
}

// One block grows from 16 to 4096 bytes by 16.
template <class Size> void Realloc(benchmark::State& state, Heap<Size> heap)
{
    for (auto _ : state) {
        void* block = nullptr;
        for (std::uint32_t size = kReallocStep; size <= kReallocMax; size += kReallocStep) {
            block = heap.resize(block, size);
            static_cast<char*>(block)[size - 1] = 1;
        }
        heap.release(block);
    }
}

template <class Size> void RegisterPairs(const std::string& who, Heap<Size> heap)
{
    for (std::uint32_t size : {16, 64, 256}) {
        const std::string name = "pair_" + std::to_string(size) + "/" + who;
        benchmark::RegisterBenchmark(name.c_str(), Pair<Size>, heap, size);
    }
}

template <class Size> void RegisterPatterns(const std::string& who, Heap<Size> heap)
{
    for (std::uint32_t live : {1'000, 100'000}) {
        const std::string suffix = "_" + std::to_string(live) + "/" + who;
        benchmark::RegisterBenchmark(("churn" + suffix).c_str(), Churn<Size>, heap, live);
        benchmark::RegisterBenchmark(("fill" + suffix).c_str(), FillAndEmpty<Size>, heap, live);
    }
    benchmark::RegisterBenchmark(("map_nodes/" + who).c_str(), MapNodes<Size>, heap);
    benchmark::RegisterBenchmark(("realloc/" + who).c_str(), Realloc<Size>, heap);
}

} // namespace

int main(int argc, char** argv)
{
    bench::ReserveThreadLocalRoom(argv);
    const auto ours = bench::XelutilsAllocator();
    RegisterPairs("xelutils", ours);
    RegisterPatterns("xelutils", ours);
    RegisterPatterns("locked glibc", bench::LockedGlibc());
    for (const std::string& name : bench::PeerNames()) {
        RegisterPairs(name, bench::Peer(name));
        RegisterPatterns(name, bench::Peer(name));
    }
    return bench::Main(argc, argv);
}
