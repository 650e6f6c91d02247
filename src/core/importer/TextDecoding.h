#pragma once
// Which encoding an export's bytes are in, and turning them into UTF-8 piece by piece, so that a
// large export never has to sit in memory whole.
//
// UTF-8 is tried first and ISO Latin-1 (which reads any bytes) when UTF-8 fails. UTF-16 is taken
// only on evidence: a byte-order mark, or a text whose first bytes are largely zero (almost any
// even-length bytes would "decode" as UTF-16, which would garble every Latin-1 export).

#include <cstddef>
#include <string>
#include <string_view>

namespace lumenary::TextDecoding {

enum class Encoding {
    utf8,
    utf16LittleEndian,
    utf16BigEndian,
    latin1,
};

/// How many of a text's first bytes detect() looks at for zero bytes.
inline constexpr std::size_t kDetectionLength = 4096;

struct Detection {
    Encoding encoding = Encoding::utf8;
    std::size_t markLength = 0;  // bytes of byte-order mark to skip
};

/// The encoding that the first bytes of a text point to (up to kDetectionLength of them, all of
/// them when the text is shorter). UTF-8 here means "UTF-8, or Latin-1 if it turns out not to be".
Detection detect(std::string_view head);

/// Turns a stream of bytes in one encoding into UTF-8. A character split between two pieces is
/// held back until the next piece. Not thread-safe.
class Decoder {
public:
    explicit Decoder(Encoding encoding) : encoding_(encoding) {}

    /// Appends the UTF-8 of `bytes` to `out`. For UTF-8 input, gives false as soon as the bytes
    /// are not well-formed (the caller then starts over as Latin-1); any other encoding reads
    /// anything: an unpaired UTF-16 surrogate becomes U+FFFD.
    bool decode(std::string_view bytes, std::string& out);

    /// Ends the stream. False when UTF-8 input stops inside a character; for UTF-16 a byte or
    /// surrogate left over becomes U+FFFD.
    bool finish(std::string& out);

    /// The same as decode() for UTF-8 input, but the text is not copied: `emit(piece, inBytes)`
    /// is called with views into `bytes` (inBytes true) or, for a character split between
    /// pieces, into the decoder (valid until the next call).
    template <typename Emit>
    bool decodeInto(std::string_view bytes, Emit&& emit);

private:
    // Checks the next piece of UTF-8: a character completed from the previous piece goes to
    // converted_, the well-formed whole characters that follow to `whole`.
    bool decodeUtf8(std::string_view bytes, std::string_view& whole);
    void decodeUtf16(std::string_view bytes, std::string& out);
    void appendCodeUnit(char16_t unit, std::string& out);

    Encoding encoding_;
    std::string pending_;         // UTF-8: the start of a character split between pieces
    int pendingByte_ = -1;        // UTF-16: the first byte of a code unit split between pieces
    char16_t highSurrogate_ = 0;  // UTF-16: waiting for its low surrogate
    std::string converted_;
};

/// All of `bytes` as UTF-8, by detect() and a Decoder, falling back to Latin-1.
std::string decode(std::string_view bytes);

template <typename Emit>
bool Decoder::decodeInto(std::string_view bytes, Emit&& emit) {
    if (encoding_ != Encoding::utf8) {
        converted_.clear();
        decode(bytes, converted_);
        if (!converted_.empty())
            emit(std::string_view(converted_), false);
        return true;
    }
    // A character completed from the previous piece comes first, then the rest as a view.
    std::string_view whole;
    if (!decodeUtf8(bytes, whole))
        return false;
    if (!converted_.empty())
        emit(std::string_view(converted_), false);
    if (!whole.empty())
        emit(whole, true);
    return true;
}

}  // namespace lumenary::TextDecoding
