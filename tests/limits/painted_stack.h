// Runs work on a stack of a given size, and tells how much of it was touched.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <pthread.h>
#include <sys/mman.h>
#include <unistd.h>

namespace kowen::test {

/// Returns the bytes of stack that a thread with work() used, its own beginnings included. A page
/// that nobody may touch lies below: work that needs more ends the process. The system may ask for
/// more than the bytes given.
template <typename Work> size_t RunOnStack(size_t bytes, Work work) {
    constexpr uint8_t kPaint = 0xA5;
    const auto page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
    const size_t size = std::max(bytes, static_cast<size_t>(sysconf(_SC_THREAD_STACK_MIN)));
    void *memory =
        mmap(nullptr, page + size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED || mprotect(memory, page, PROT_NONE) != 0)
        std::abort();
    auto *stack = static_cast<uint8_t *>(memory) + page;
    std::fill(stack, stack + size, kPaint);
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_t thread;
    const auto start = [](void *context) -> void * {
        (*static_cast<Work *>(context))();
        return nullptr;
    };
    if (pthread_attr_setstack(&attributes, stack, size) != 0 ||
        pthread_create(&thread, &attributes, start, &work) != 0)
        std::abort();
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
    const auto *touched = std::find_if(stack, stack + size, [](uint8_t b) { return b != kPaint; });
    const auto used = static_cast<size_t>(stack + size - touched);
    munmap(memory, page + size);
    return used;
}

} // namespace kowen::test
