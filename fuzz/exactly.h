// Memory of exactly so many values, zero at first, so that the sanitizers see each byte beyond it.
#pragma once

#include <algorithm>
#include <cstddef>
#include <memory>
#include <vector>

namespace kowen::fuzz {

template <typename T> class Exactly {
public:
    explicit Exactly(size_t count) : room(new T[count]()), size(count) {}
    explicit Exactly(const std::vector<T> &values) : Exactly(values.size()) {
        std::copy(values.begin(), values.end(), room.get());
    }

    T *Get() const { return room.get(); }
    std::vector<T> Values() const { return {room.get(), room.get() + size}; }

private:
    std::unique_ptr<T[]> room;
    size_t size;
};

} // namespace kowen::fuzz
