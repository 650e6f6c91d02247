#include "importer/TextDecoding.h"

#include <cstdint>
#include <cstring>

namespace lumenary::TextDecoding {
namespace {

using std::size_t;

// The length of the UTF-8 sequence that `lead` starts, or 0 for a byte that cannot start one.
size_t sequenceLength(unsigned char lead) {
    if (lead < 0x80)
        return 1;
    if (lead >= 0xC2 && lead <= 0xDF)
        return 2;
    if (lead >= 0xE0 && lead <= 0xEF)
        return 3;
    if (lead >= 0xF0 && lead <= 0xF4)
        return 4;
    return 0;
}

// The allowed range of the byte after `lead` (Unicode's table of well-formed UTF-8): the first
// continuation byte is narrowed to rule out overlong forms, surrogates and values past U+10FFFF.
bool secondByteFits(unsigned char lead, unsigned char b) {
    switch (lead) {
        case 0xE0:
            return b >= 0xA0 && b <= 0xBF;
        case 0xED:
            return b >= 0x80 && b <= 0x9F;
        case 0xF0:
            return b >= 0x90 && b <= 0xBF;
        case 0xF4:
            return b >= 0x80 && b <= 0x8F;
        default:
            return b >= 0x80 && b <= 0xBF;
    }
}

enum class Check { wellFormed, truncated, illFormed };

// Checks the sequence at the start of `s` (s nonempty): its length goes to `length`.
Check checkSequence(const unsigned char* s, size_t available, size_t& length) {
    length = sequenceLength(s[0]);
    if (length == 0)
        return Check::illFormed;
    for (size_t i = 1; i < length; ++i) {
        if (i >= available)
            return Check::truncated;
        const bool fits = i == 1 ? secondByteFits(s[0], s[i]) : (s[i] >= 0x80 && s[i] <= 0xBF);
        if (!fits)
            return Check::illFormed;
    }
    return Check::wellFormed;
}

// How many bytes at the start of `s` are whole well-formed characters; `truncated` tells whether
// what follows is the start of a character cut off by the end of `s`.
size_t wellFormedPrefix(std::string_view text, bool& truncated) {
    const auto* s = reinterpret_cast<const unsigned char*>(text.data());
    const size_t n = text.size();
    size_t i = 0;
    truncated = false;
    while (i < n) {
        // Most exports are mostly ASCII: skip it eight bytes at a time.
        while (i + 8 <= n) {
            std::uint64_t word = 0;
            std::memcpy(&word, s + i, 8);
            if (word & 0x8080808080808080ULL)
                break;
            i += 8;
        }
        if (i >= n)
            break;
        if (s[i] < 0x80) {
            ++i;
            continue;
        }
        size_t length = 0;
        const Check check = checkSequence(s + i, n - i, length);
        if (check != Check::wellFormed) {
            truncated = check == Check::truncated;
            return i;
        }
        i += length;
    }
    return n;
}

void appendUtf8(char32_t c, std::string& out) {
    if (c < 0x80) {
        out.push_back(static_cast<char>(c));
    } else if (c < 0x800) {
        out.push_back(static_cast<char>(0xC0 | (c >> 6)));
        out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
    } else if (c < 0x10000) {
        out.push_back(static_cast<char>(0xE0 | (c >> 12)));
        out.push_back(static_cast<char>(0x80 | ((c >> 6) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
    } else {
        out.push_back(static_cast<char>(0xF0 | (c >> 18)));
        out.push_back(static_cast<char>(0x80 | ((c >> 12) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | ((c >> 6) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
    }
}

constexpr char32_t kReplacement = 0xFFFD;

}  // namespace

Detection detect(std::string_view head) {
    if (head.starts_with("\xEF\xBB\xBF"))
        return {Encoding::utf8, 3};
    if (head.starts_with("\xFF\xFE"))
        return {Encoding::utf16LittleEndian, 2};
    if (head.starts_with("\xFE\xFF"))
        return {Encoding::utf16BigEndian, 2};
    head = head.substr(0, kDetectionLength);
    size_t zerosAtEven = 0, zerosAtOdd = 0;
    for (size_t i = 0; i < head.size(); ++i) {
        if (head[i] == '\0')
            ++(i % 2 == 0 ? zerosAtEven : zerosAtOdd);
    }
    // Text in UTF-16 without a mark: mostly Latin letters, each with a zero byte beside it.
    // The zeros fall after the letter in little-endian order, before it in big-endian order.
    if (!head.empty() && (zerosAtEven + zerosAtOdd) * 10 >= head.size() * 3) {
        return {zerosAtOdd >= zerosAtEven ? Encoding::utf16LittleEndian : Encoding::utf16BigEndian,
                0};
    }
    return {Encoding::utf8, 0};
}

bool Decoder::decodeUtf8(std::string_view bytes, std::string_view& whole) {
    converted_.clear();
    size_t used = 0;
    if (!pending_.empty()) {
        const size_t needed = sequenceLength(static_cast<unsigned char>(pending_[0]));
        while (pending_.size() < needed && used < bytes.size())
            pending_.push_back(bytes[used++]);
        size_t length = 0;
        const Check check = checkSequence(reinterpret_cast<const unsigned char*>(pending_.data()),
                                          pending_.size(), length);
        if (check == Check::illFormed)
            return false;
        if (check == Check::truncated)
            return true;  // still waiting for the rest
        converted_.swap(pending_);
        pending_.clear();
    }
    const std::string_view rest = bytes.substr(used);
    bool truncated = false;
    const size_t valid = wellFormedPrefix(rest, truncated);
    if (valid < rest.size() && !truncated)
        return false;
    pending_.assign(rest.substr(valid));
    whole = rest.substr(0, valid);
    return true;
}

void Decoder::appendCodeUnit(char16_t unit, std::string& out) {
    if (highSurrogate_ != 0) {
        if (unit >= 0xDC00 && unit <= 0xDFFF) {
            appendUtf8(0x10000 + ((char32_t{highSurrogate_} - 0xD800) << 10) + (unit - 0xDC00),
                       out);
            highSurrogate_ = 0;
            return;
        }
        appendUtf8(kReplacement, out);
        highSurrogate_ = 0;
    }
    if (unit >= 0xD800 && unit <= 0xDBFF) {
        highSurrogate_ = unit;
    } else if (unit >= 0xDC00 && unit <= 0xDFFF) {
        appendUtf8(kReplacement, out);
    } else {
        appendUtf8(unit, out);
    }
}

void Decoder::decodeUtf16(std::string_view bytes, std::string& out) {
    const bool littleEndian = encoding_ == Encoding::utf16LittleEndian;
    size_t i = 0;
    auto unitOf = [&](unsigned char first, unsigned char second) {
        return static_cast<char16_t>(littleEndian ? (second << 8 | first) : (first << 8 | second));
    };
    if (pendingByte_ >= 0 && !bytes.empty()) {
        appendCodeUnit(
            unitOf(static_cast<unsigned char>(pendingByte_), static_cast<unsigned char>(bytes[0])),
            out);
        pendingByte_ = -1;
        i = 1;
    }
    for (; i + 1 < bytes.size(); i += 2) {
        appendCodeUnit(
            unitOf(static_cast<unsigned char>(bytes[i]), static_cast<unsigned char>(bytes[i + 1])),
            out);
    }
    if (i < bytes.size())
        pendingByte_ = static_cast<unsigned char>(bytes[i]);
}

bool Decoder::decode(std::string_view bytes, std::string& out) {
    switch (encoding_) {
        case Encoding::utf8: {
            std::string_view whole;
            if (!decodeUtf8(bytes, whole))
                return false;
            out += converted_;
            out += whole;
            return true;
        }
        case Encoding::utf16LittleEndian:
        case Encoding::utf16BigEndian:
            out.reserve(out.size() + bytes.size());
            decodeUtf16(bytes, out);
            return true;
        case Encoding::latin1:
            out.reserve(out.size() + bytes.size() * 2);
            for (const char byte : bytes)
                appendUtf8(static_cast<unsigned char>(byte), out);
            return true;
    }
    return true;
}

bool Decoder::finish(std::string& out) {
    if (encoding_ == Encoding::utf8)
        return pending_.empty();
    if (highSurrogate_ != 0 || pendingByte_ >= 0)
        appendUtf8(kReplacement, out);
    highSurrogate_ = 0;
    pendingByte_ = -1;
    return true;
}

std::string decode(std::string_view bytes) {
    const Detection detection = detect(bytes);
    const std::string_view text = bytes.substr(detection.markLength);
    std::string out;
    Decoder decoder(detection.encoding);
    if (decoder.decode(text, out) && decoder.finish(out))
        return out;
    out.clear();
    Decoder latin1(Encoding::latin1);
    latin1.decode(text, out);
    return out;
}

}  // namespace lumenary::TextDecoding
