#pragma once
// Random (version 4) UUIDs in canonical upper-case form, made fast enough to give every message of
// a million-message archive its own.

#include <cstdint>
#include <random>
#include <string>

namespace lumenary {

/// Seeded once with 256 bits from std::random_device, then a 64-bit Mersenne Twister gives 122
/// random bits per UUID: two imports start from the same state with negligible chance, so their
/// ids collide no more often than the system's own UUIDs would. Not thread-safe; keep one per
/// thread or per import.
class UuidGenerator {
public:
    UuidGenerator() {
        std::random_device device;
        std::seed_seq seeds{device(), device(), device(), device(),
                            device(), device(), device(), device()};
        engine_.seed(seeds);
    }

    std::string next() {
        std::uint64_t high = engine_();
        std::uint64_t low = engine_();
        high = (high & ~0xF000ULL) | 0x4000ULL;                       // version 4
        low = (low & 0x3FFFFFFFFFFFFFFFULL) | 0x8000000000000000ULL;  // RFC 4122 variant
        std::string text(36, '-');
        char* out = text.data();
        writeHex(high >> 32, 8, out);
        writeHex(high >> 16, 4, out + 9);
        writeHex(high, 4, out + 14);
        writeHex(low >> 48, 4, out + 19);
        writeHex(low, 12, out + 24);
        return text;
    }

private:
    // Writes the low `digits` hex digits of `value`, most significant first.
    static void writeHex(std::uint64_t value, int digits, char* out) {
        static constexpr char kDigits[] = "0123456789ABCDEF";
        for (int i = digits - 1; i >= 0; --i) {
            out[i] = kDigits[value & 0xF];
            value >>= 4;
        }
    }

    std::mt19937_64 engine_;
};

}  // namespace lumenary
