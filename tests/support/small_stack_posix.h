#pragma once

#include <gtest/gtest.h>
#include <pthread.h>

inline void RunWithSmallStack(std::function<void()> work)
{
    const auto run = [](void* argument) -> void* {
        (*static_cast<std::function<void()>*>(argument))();
        return nullptr;
    };
    pthread_attr_t attributes;
    pthread_t thread;
    pthread_attr_init(&attributes);
    ASSERT_EQ(pthread_attr_setstacksize(&attributes, kSmallStackBytes), 0);
    ASSERT_EQ(pthread_create(&thread, &attributes, run, &work), 0);
    EXPECT_EQ(pthread_join(thread, nullptr), 0);
    pthread_attr_destroy(&attributes);
}
