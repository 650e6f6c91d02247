#include "common/Uuid.h"

namespace lumenary {
namespace {

int hexValue(char c) {
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
    if (text.size() != 36) return std::nullopt;
    Uuid id;
    int nibbles = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (i == 8 || i == 13 || i == 18 || i == 23) {
            if (text[i] != '-') return std::nullopt;
            continue;
        }
        const int value = hexValue(text[i]);
        if (value < 0) return std::nullopt;
        std::uint64_t& half = nibbles < 16 ? id.high : id.low;
        half = half << 4 | static_cast<std::uint64_t>(value);
        ++nibbles;
    }
    return id;
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
