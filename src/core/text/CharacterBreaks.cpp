#include "text/CharacterBreaks.h"

#include <unicode/brkiter.h>
#include <unicode/locid.h>
#include <unicode/uchar.h>
#include <unicode/uscript.h>
#include <unicode/utext.h>

#include <array>
#include <climits>
#include <cstdint>
#include <memory>

namespace lumenary::text::breaks {
namespace {

// ICU's break iterator costs about a microsecond per short message, too much for archives of a
// million messages. Nearly every boundary follows from the grapheme break properties of the two
// code points around it plus three pieces of state: emoji ZWJ sequences, regional indicator pairs
// and Indic conjuncts (a consonant joins the cluster of a preceding consonant + virama, as ICU
// tailors the rules for Devanagari, Bengali, Gujarati, Oriya, Telugu and Malayalam). Only Hangul
// jamo sequences are left undecided; such a stretch lies between two certain boundaries and is
// handed to ICU. A test runs both ways over every code point in many contexts and over random
// mixed text.

enum class Kind : std::uint8_t {
    other,
    control,
    cr,
    lf,
    extend,           // break property Extend, combining class 0
    extendCombining,  // break property Extend, combining class above 0
    linkingVirama,    // break property Extend, a virama of the six conjunct scripts
    zwj,
    spacingMark,
    prepend,
    regionalIndicator,
    pictographic,      // Extended_Pictographic, break property Other
    linkingConsonant,  // a consonant of the six conjunct scripts, break property Other
    jamo,              // Hangul syllable parts and the obsolete emoji classes: left to ICU
};

// The blocks that hold the conjunct scripts' consonants and viramas; only code points in them pay
// for the script and syllabic category lookups.
bool inConjunctBlocks(UChar32 c) {
    return (c >= 0x0900 && c <= 0x0D7F) || (c >= 0xA8E0 && c <= 0xA8FF) ||
           (c >= 0x11B00 && c <= 0x11B5F);
}

bool inConjunctScript(UChar32 c) {
    switch (u_getIntPropertyValue(c, UCHAR_SCRIPT)) {
        case USCRIPT_DEVANAGARI:
        case USCRIPT_BENGALI:
        case USCRIPT_GUJARATI:
        case USCRIPT_ORIYA:
        case USCRIPT_TELUGU:
        case USCRIPT_MALAYALAM:
            return true;
        default:
            return false;
    }
}

Kind kindWithIcu(char32_t c) {
    const auto codePoint = static_cast<UChar32>(c);
    switch (u_getIntPropertyValue(codePoint, UCHAR_GRAPHEME_CLUSTER_BREAK)) {
        case U_GCB_OTHER:
            if (inConjunctBlocks(codePoint)) {
                return u_getIntPropertyValue(codePoint, UCHAR_INDIC_SYLLABIC_CATEGORY) ==
                                   U_INSC_CONSONANT &&
                               inConjunctScript(codePoint)
                           ? Kind::linkingConsonant
                           : Kind::other;
            }
            return u_hasBinaryProperty(codePoint, UCHAR_EXTENDED_PICTOGRAPHIC) ? Kind::pictographic
                                                                               : Kind::other;
        case U_GCB_CONTROL:
            return Kind::control;
        case U_GCB_CR:
            return Kind::cr;
        case U_GCB_LF:
            return Kind::lf;
        case U_GCB_EXTEND:
            if (inConjunctBlocks(codePoint) &&
                u_getIntPropertyValue(codePoint, UCHAR_INDIC_SYLLABIC_CATEGORY) == U_INSC_VIRAMA &&
                inConjunctScript(codePoint)) {
                return Kind::linkingVirama;
            }
            return u_getCombiningClass(codePoint) != 0 ? Kind::extendCombining : Kind::extend;
        case U_GCB_ZWJ:
            return Kind::zwj;
        case U_GCB_SPACING_MARK:
            return Kind::spacingMark;
        case U_GCB_PREPEND:
            return Kind::prepend;
        case U_GCB_REGIONAL_INDICATOR:
            return Kind::regionalIndicator;
        default:
            return Kind::jamo;
    }
}

Kind kindOf(char32_t c) {
    static const std::array<Kind, 128> ascii = [] {
        std::array<Kind, 128> table{};
        for (char32_t a = 0; a < 128; ++a) {
            table[a] = kindWithIcu(a);
        }
        return table;
    }();
    return c < 128 ? ascii[c] : kindWithIcu(c);
}

bool isExtend(Kind kind) {
    return kind == Kind::extend || kind == Kind::extendCombining || kind == Kind::linkingVirama;
}

enum class Boundary : std::uint8_t { breaks, joins, undecided };

// What the text just before the boundary being decided ends with.
struct Context {
    enum class Conjunct : std::uint8_t { none, consonant, linked };

    Kind previous = Kind::control;
    int regionalIndicatorRun = 0;       // regional indicators in a row
    bool pictographicOpen = false;      // Extended_Pictographic Extend*
    bool afterPictographicZwj = false;  // Extended_Pictographic Extend* ZWJ
    // Linking consonant, then combining marks (class above 0) or ZWJ; "linked" once a virama of
    // the same scripts is among them.
    Conjunct conjunct = Conjunct::none;

    void advance(Kind kind) {
        regionalIndicatorRun = kind == Kind::regionalIndicator ? regionalIndicatorRun + 1 : 0;
        afterPictographicZwj = kind == Kind::zwj && pictographicOpen;
        pictographicOpen = kind == Kind::pictographic || (isExtend(kind) && pictographicOpen);
        if (kind == Kind::linkingConsonant) {
            conjunct = Conjunct::consonant;
        } else if (kind == Kind::linkingVirama && conjunct != Conjunct::none) {
            conjunct = Conjunct::linked;
        } else if (kind != Kind::extendCombining && kind != Kind::zwj) {
            conjunct = Conjunct::none;
        }
        previous = kind;
    }
};

Boundary decide(const Context& before, Kind next) {
    const Kind previous = before.previous;
    if (previous == Kind::cr && next == Kind::lf) {
        return Boundary::joins;
    }
    if (previous == Kind::control || previous == Kind::cr || previous == Kind::lf) {
        return Boundary::breaks;
    }
    if (next == Kind::control || next == Kind::cr || next == Kind::lf) {
        return Boundary::breaks;
    }
    if (previous == Kind::jamo && next == Kind::jamo) {
        return Boundary::undecided;
    }
    if (isExtend(next) || next == Kind::zwj || next == Kind::spacingMark) {
        return Boundary::joins;
    }
    if (previous == Kind::prepend) {
        return Boundary::joins;
    }
    if (next == Kind::linkingConsonant && before.conjunct == Context::Conjunct::linked) {
        return Boundary::joins;
    }
    if (next == Kind::pictographic && previous == Kind::zwj) {
        return before.afterPictographicZwj ? Boundary::joins : Boundary::breaks;
    }
    if (next == Kind::regionalIndicator && previous == Kind::regionalIndicator) {
        return before.regionalIndicatorRun % 2 == 1 ? Boundary::joins : Boundary::breaks;
    }
    return Boundary::breaks;
}

// One break iterator per thread: creating one costs far more than a message, and callers on
// different threads must not share one.
icu::BreakIterator* characterBreaker() {
    thread_local const std::unique_ptr<icu::BreakIterator> breaker = [] {
        UErrorCode status = U_ZERO_ERROR;
        std::unique_ptr<icu::BreakIterator> created(
            icu::BreakIterator::createCharacterInstance(icu::Locale::getRoot(), status));
        if (U_FAILURE(status))
            created.reset();
        return created;
    }();
    return breaker.get();
}

// Appends the character ends of s, offset by `base`, as ICU finds them.
void appendIcuEnds(std::string_view s, std::size_t base, std::vector<std::size_t>& ends) {
    if (s.empty())
        return;
    icu::BreakIterator* breaker = characterBreaker();
    // The iterator reports int32 offsets; longer text (never a single message) falls back below.
    if (breaker != nullptr && s.size() <= static_cast<std::size_t>(INT32_MAX)) {
        UErrorCode status = U_ZERO_ERROR;
        UText text = UTEXT_INITIALIZER;
        utext_openUTF8(&text, s.data(), static_cast<int64_t>(s.size()), &status);
        // The iterator keeps its own shallow clone of the UText, so ours can be closed at once.
        breaker->setText(&text, status);
        utext_close(&text);
        if (U_SUCCESS(status)) {
            breaker->first();
            for (std::int32_t end = breaker->next(); end != icu::BreakIterator::DONE;
                 end = breaker->next()) {
                ends.push_back(base + static_cast<std::size_t>(end));
            }
            return;
        }
    }
    // Without break rules every code point stands alone: lengths may come out long, but no text is
    // lost.
    for (std::size_t i = 0; i < s.size();) {
        decodeNext(s, i);
        ends.push_back(base + i);
    }
}

}  // namespace

void characterEnds(std::string_view s, std::vector<std::size_t>& ends) {
    ends.clear();
    std::size_t stretchStart = 0;  // start of the run of code points joined or undecided so far
    bool stretchUndecided = false;
    auto closeStretch = [&](std::size_t end) {
        if (stretchUndecided) {
            appendIcuEnds(s.substr(stretchStart, end - stretchStart), stretchStart, ends);
        } else {
            ends.push_back(end);
        }
    };

    Context context;
    bool previousIsAscii = false;  // the context then still lacks that code point, previousByte
    unsigned char previousByte = 0;
    for (std::size_t i = 0; i < s.size();) {
        const std::size_t begin = i;
        const auto byte = static_cast<unsigned char>(s[i]);
        if (previousIsAscii) {
            // Between two ASCII code points there is always a boundary, except inside "\r\n";
            // most text that is not pure ASCII is still mostly ASCII, so this loop stays here.
            if (byte < 0x80) {
                if (!(byte == '\n' && previousByte == '\r')) {
                    closeStretch(begin);
                    stretchStart = begin;
                    stretchUndecided = false;
                }
                previousByte = byte;
                ++i;
                continue;
            }
            context.advance(kindOf(previousByte));
        }
        const char32_t c = decodeNext(s, i);
        const Kind kind = kindOf(c);
        if (begin > 0) {
            switch (decide(context, kind)) {
                case Boundary::breaks:
                    closeStretch(begin);
                    stretchStart = begin;
                    stretchUndecided = false;
                    break;
                case Boundary::undecided:
                    stretchUndecided = true;
                    break;
                case Boundary::joins:
                    break;
            }
        }
        previousIsAscii = c < 0x80;
        if (previousIsAscii) {
            previousByte = byte;
        } else {
            context.advance(kind);
        }
    }
    if (!s.empty())
        closeStretch(s.size());
}

void characterEndsWithIcu(std::string_view s, std::vector<std::size_t>& ends) {
    ends.clear();
    appendIcuEnds(s, 0, ends);
}

}  // namespace lumenary::text::breaks
