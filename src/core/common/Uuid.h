#pragma once
// UUIDs as 16-byte values: a million-message archive keeps one per message, and as text each
// would cost a 37-byte heap block besides.

#include <cstdint>
#include <functional>
#include <optional>
#include <random>
#include <string>
#include <string_view>

namespace lumenary {

struct Uuid {
    std::uint64_t high = 0;  // the first 8 bytes, most significant first
    std::uint64_t low = 0;   // the last 8 bytes

    /// A fresh random (version 4) UUID, from a per-thread generator.
    static Uuid random();
    /// Reads the canonical text form (8-4-4-4-12 hex digits, either case); nothing otherwise.
    static std::optional<Uuid> parse(std::string_view text);
    /// The canonical text form in upper case, as stored files write it.
    std::string text() const;

    friend auto operator<=>(const Uuid&, const Uuid&) = default;
};

/// Seeded once with 256 bits from std::random_device, then a 64-bit Mersenne Twister gives 122
/// random bits per UUID: two imports start from the same state with negligible chance, so their
/// ids collide no more often than the system's own UUIDs would. Reading the random device for
/// every message of a large archive would cost more than the rest of the import. Not
/// thread-safe; keep one per thread or per import.
class UuidGenerator {
public:
    UuidGenerator();
    Uuid next();

private:
    std::mt19937_64 engine_;
};

}  // namespace lumenary

template <>
struct std::hash<lumenary::Uuid> {
    std::size_t operator()(const lumenary::Uuid& id) const noexcept {
        // Version-4 UUIDs are random already; mixing the halves is enough.
        return static_cast<std::size_t>(id.high ^ (id.low * 0x9E3779B97F4A7C15ULL));
    }
};
