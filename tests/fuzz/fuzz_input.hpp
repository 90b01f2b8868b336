// Helpers shared by the fuzz targets: a reader that turns the input into typed values and a
// check that stops the run at the first broken invariant.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

namespace velmora::fuzz {

// Reads values off the front of the input; once it is used up every read gives zeros, so a
// target never has to check the length before reading. Read arguments into locals before a
// call: compilers evaluate a call's arguments in different orders, and a corpus file must mean
// the same calls whether the target was built with clang or gcc.
class Input {
public:
    Input(const std::uint8_t* data, std::size_t size) : data_(data), size_(size) {}
    bool empty() const { return at_ == size_; }
    std::uint8_t byte() { return empty() ? 0 : data_[at_++]; }
    // Each read is its own statement: the operands of `|` may be evaluated in either order.
    std::uint16_t u16() {
        const unsigned low = byte();
        const unsigned high = byte();
        return static_cast<std::uint16_t>(low | high << 8);
    }
    std::uint32_t u32() {
        const std::uint32_t low = u16();
        const std::uint32_t high = u16();
        return low | high << 16;
    }
    // Raw bits half the time (NaN, infinities and huge values included), a small whole number
    // otherwise, so both the argument checks and the paths behind them get exercised.
    float number() {
        const std::uint8_t how = byte();
        if (how & 1) {
            const std::uint32_t bits = u32();
            float f;
            std::memcpy(&f, &bits, sizeof f);
            return f;
        }
        return static_cast<float>(static_cast<std::int8_t>(byte())) * static_cast<float>(1 + (how >> 5));
    }
    std::string bytes(std::size_t n) {
        n = std::min(n, size_ - at_);
        std::string out(reinterpret_cast<const char*>(data_ + at_), n);
        at_ += n;
        return out;
    }
    std::string rest() { return bytes(size_ - at_); }

private:
    const std::uint8_t* data_;
    std::size_t size_;
    std::size_t at_ = 0;
};

// A trap rather than an exception or abort message: libFuzzer and the replay runner both
// report it with the input that caused it.
inline void require(bool ok) {
    if (!ok) __builtin_trap();
}

} // namespace velmora::fuzz
