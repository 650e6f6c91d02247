#include "common/Uuid.h"

#include <array>

namespace lumenary {
namespace {

constexpr int hexValue(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

// Writes the low `digits` hex digits of `value`, most significant first.
void writeHex(std::uint64_t value, int digits, char* out) {
    static constexpr char kDigits[] = "0123456789ABCDEF";
    for (int i = digits - 1; i >= 0; --i) {
        out[i] = kDigits[value & 0xF];
        value >>= 4;
    }
}

}  // namespace

UuidGenerator::UuidGenerator() {
    std::random_device device;
    std::seed_seq seeds{device(), device(), device(), device(),
                        device(), device(), device(), device()};
    engine_.seed(seeds);
}

Uuid UuidGenerator::next() {
    Uuid id{engine_(), engine_()};
    id.high = (id.high & ~0xF000ULL) | 0x4000ULL;                             // version 4
    id.low = (id.low & 0x3FFFFFFFFFFFFFFFULL) | 0x8000000000000000ULL;  // RFC 4122 variant
    return id;
}

Uuid Uuid::random() {
    thread_local UuidGenerator generator;
    return generator.next();
}

std::optional<Uuid> Uuid::parse(std::string_view text) {
    if (text.size() != 36 || text[8] != '-' || text[13] != '-' || text[18] != '-' ||
        text[23] != '-') {
        return std::nullopt;
    }
    // A fixed walk over the 32 digit positions with one table look-up each: a million-message
    // archive reads a million ids at every start, and a branch per character cost a tenth of it.
    static constexpr std::array<std::uint8_t, 32> kDigitAt = {
        0,  1,  2,  3,  4,  5,  6,  7,  9,  10, 11, 12, 14, 15, 16, 17,
        19, 20, 21, 22, 24, 25, 26, 27, 28, 29, 30, 31, 32, 33, 34, 35};
    static constexpr std::array<std::int8_t, 256> kValue = [] {
        std::array<std::int8_t, 256> values{};
        for (int c = 0; c < 256; ++c)
            values[static_cast<std::size_t>(c)] =
                static_cast<std::int8_t>(hexValue(static_cast<char>(c)));
        return values;
    }();
    std::uint64_t halves[2] = {0, 0};
    int invalid = 0;
    for (std::size_t i = 0; i < kDigitAt.size(); ++i) {
        const int value = kValue[static_cast<unsigned char>(text[kDigitAt[i]])];
        invalid |= value;  // -1 sets every bit
        halves[i / 16] = halves[i / 16] << 4 | static_cast<std::uint64_t>(value & 0xF);
    }
    if (invalid < 0)
        return std::nullopt;
    return Uuid{halves[0], halves[1]};
}

std::string Uuid::text() const {
    std::string out(36, '-');
    writeHex(high >> 32, 8, out.data());
    writeHex(high >> 16, 4, out.data() + 9);
    writeHex(high, 4, out.data() + 14);
    writeHex(low >> 48, 4, out.data() + 19);
    writeHex(low, 12, out.data() + 24);
    return out;
}

}  // namespace lumenary
