// Secrets that are put together piece by piece.
#pragma once

#include "secrets.hpp"

#include <algorithm>
#include <string_view>

namespace qal::tool {

// Bytes that are written one after the other into room that was made before, since a vector that
// grows leaves what it held behind.
class Writer {
public:
    explicit Writer(Secret &to) : to_(to) {}

    template<typename Byte>
    void put(const Byte *data, size_t size)
    {
        std::copy(data, data + size, to_.data() + size_);
        size_ += size;
    }
    void put(std::string_view text) { put(text.data(), text.size()); }

private:
    Secret &to_;
    size_t size_ = 0;
};

} // namespace qal::tool
