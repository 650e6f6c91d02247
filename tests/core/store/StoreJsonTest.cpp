#include <gtest/gtest.h>

#include <cmath>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "TestSupport.h"
#include "store/ArchiveJson.h"
#include "store/TranscriptJson.h"

namespace lumenary {
namespace {

using Json = nlohmann::ordered_json;

// What ChatMessage's own coding makes of `text`: the reference the fast reader must agree with.
std::optional<std::vector<ChatMessage>> byLibrary(const std::string& text) {
    try {
        return Json::parse(text).get<std::vector<ChatMessage>>();
    } catch (const Json::exception&) {
        return std::nullopt;
    }
}

const char* const kId = "\"id\": \"00112233-4455-6677-8899-aabbccddeeff\"";

std::string oneMessage(const std::string& fields) {
    return "[{" + fields + "}]";
}

TEST(StoreJson, ArchiveReadsAsTheMessageCodingReads) {
    const std::string all = std::string(kId) + ", \"sender\": \"Amma\", \"text\": \"t\", ";
    const std::vector<std::string> good = {
        "[]",
        " \n[ ]\n ",
        oneMessage(all + "\"date\": \"2021-03-12T16:45:32Z\""),
        // Escapes, a surrogate pair, raw UTF-8, keys in another order, unknown keys of every kind.
        R"([{"date": "2021-03-12T16:45:32.750Z", "extra": {"a": [1, 2.5, null, true]},
            "text": "line\n\"quoted\" \\ \u00e9 \ud83d\ude00 నాన్న 😀", "sender": "Ra\tvi",
            "id": "00112233-4455-6677-8899-AABBCCDDEEFF", "more": null},
           {"id": "ffffffff-ffff-4fff-bfff-000000000000", "sender": "", "text": "x",
            "date": "2021-03-12T22:15:32+05:30"}])",
        oneMessage(all + "\"date\": \"2016-12-31T23:59:60Z\""),
        R"([{"\u0069d": "00112233-4455-6677-8899-aabbccddeeff", "sender": "\u0041mma",
            "text": "t", "date": "2021-03-12T16:45:32\u005a"}])",
    };
    for (const std::string& text : good) {
        const auto expected = byLibrary(text);
        ASSERT_TRUE(expected.has_value()) << text;
        EXPECT_EQ(ArchiveJson::decode(text), expected) << text;
    }

    const std::string noDate = std::string(kId) + ", \"sender\": \"Amma\", \"text\": \"t\"";
    const std::vector<std::string> bad = {
        "",
        "  ",
        "null",
        "{}",
        "[1]",
        "[[]]",
        "[{}]",
        std::string("\x89PNG\r\n\x1a\n\0\x01", 10),
        "[] x",
        "[],",
        oneMessage(noDate),
        oneMessage(all + "\"date\": 1615567532"),
        oneMessage(all + "\"date\": \"yesterday\""),
        oneMessage(all + "\"date\": \"2021-02-29T10:00:00Z\""),
        oneMessage(
            "\"id\": 5, \"sender\": \"Amma\", \"text\": \"t\", \"date\": \"2021-03-12T16:45:32Z\""),
        oneMessage("\"id\": \"not-a-uuid\", \"sender\": \"Amma\", \"text\": \"t\", "
                   "\"date\": \"2021-03-12T16:45:32Z\""),
        oneMessage(std::string(kId) +
                   ", \"sender\": null, \"text\": \"t\", \"date\": \"2021-03-12T16:45:32Z\""),
        oneMessage(std::string(kId) +
                   ", \"sender\": \"A\", \"text\": [\"t\"], \"date\": \"2021-03-12T16:45:32Z\""),
        oneMessage(std::string(kId) +
                   ", \"sender\": \"A\xff\", \"text\": \"t\", \"date\": \"2021-03-12T16:45:32Z\""),
        oneMessage(
            std::string(kId) +
            ", \"sender\": \"A\", \"text\": \"two\nlines\", \"date\": \"2021-03-12T16:45:32Z\""),
        "[{" + all + "\"date\": \"2021-03-12T16:45:32Z\"},]",
    };
    for (const std::string& text : bad) {
        EXPECT_FALSE(byLibrary(text).has_value()) << text;
        EXPECT_EQ(ArchiveJson::decode(text), std::nullopt) << text;
    }
}

TEST(StoreJson, WritesWhatTheLibraryWritesAndReadsItBack) {
    std::vector<ChatMessage> messages;
    const std::vector<std::string> texts = {
        "plain",   "quote \" backslash \\ slash /", "controls \b\f\n\r\t \x01\x1f \x7f",
        "నాన్న 😀 é", "broken \xff\xfe utf-8 \xc3",    ""};
    for (std::size_t i = 0; i < texts.size(); ++i) {
        messages.push_back(
            ChatMessage{testing::labelledId(testing::numbered("m", static_cast<long long>(i))),
                        "Amma \"A\"", texts[i], 1615567532.75 + static_cast<double>(i)});
    }
    const std::string written = ArchiveJson::encode(messages);
    EXPECT_EQ(written, Json(messages).dump(2, ' ', false, Json::error_handler_t::replace));
    EXPECT_EQ(ArchiveJson::encode({}), "[]");
    std::vector<Store::Turn> turns;
    for (std::size_t i = 0; i < texts.size(); ++i) {
        turns.push_back(
            Store::Turn{messages[i].id, Store::Turn::Speaker(i % 3), texts[i],
                        i % 2 ? std::optional<Timestamp>(messages[i].date) : std::nullopt});
    }
    EXPECT_EQ(TranscriptJson::encode(turns),
              Json(turns).dump(2, ' ', false, Json::error_handler_t::replace));
    EXPECT_EQ(TranscriptJson::encode({}), "[]");

    const auto read = ArchiveJson::decode(written);
    ASSERT_TRUE(read.has_value());
    ASSERT_EQ(read->size(), messages.size());
    for (std::size_t i = 0; i < messages.size(); ++i) {
        EXPECT_EQ((*read)[i].id, messages[i].id);
        EXPECT_EQ((*read)[i].date, 1615567532.0 + static_cast<double>(i));  // whole seconds
    }
    EXPECT_EQ((*read)[2].text, texts[2]);
    EXPECT_EQ((*read)[4].text, "broken \uFFFD\uFFFD utf-8 \uFFFD");

    // Cut anywhere before its closing bracket, the file does not read.
    const std::size_t end = written.rfind(']');
    for (std::size_t length = 0; length < end; ++length)
        ASSERT_EQ(ArchiveJson::decode(written.substr(0, length)), std::nullopt) << length;

    // A large archive arrives in pieces that join to the same text.
    std::vector<ChatMessage> many(3000, messages[0]);
    std::string joined;
    std::size_t pieces = 0;
    ArchiveJson::encode(many, [&](std::string_view piece) {
        joined += piece;
        ++pieces;
    });
    EXPECT_GT(pieces, 1u);
    EXPECT_EQ(joined, ArchiveJson::encode(many));
}

TEST(StoreJson, FastDatesReadAsParseIsoUtc) {
    // From year 1 to 9999 at varying days and times of day.
    for (double t = -62135596800.0; t < 253402300799.0; t += 37 * 86400 + 3671) {
        const std::string text = LocalTime::isoUtc(t);
        ASSERT_EQ(ArchiveJson::readCanonicalIsoUtc(text), std::floor(t)) << text;
        ASSERT_EQ(LocalTime::parseIsoUtc(text), std::floor(t)) << text;
    }
    for (const char* text : {"2020-02-29T23:59:59Z",   "2021-02-29T00:00:00Z",
                             "1900-02-29T00:00:00Z",   "2000-02-29T12:00:00Z",
                             "2016-12-31T23:59:60Z",   "2021-13-01T00:00:00Z",
                             "2021-00-10T00:00:00Z",   "2021-01-00T00:00:00Z",
                             "2021-01-01T24:00:00Z",   "2021-01-01T00:60:00Z",
                             "0000-01-01T00:00:00Z",   "+021-01-01T00:00:00Z",
                             " 2021-01-01T00:00:00Z",  "2021-01-01T00:00:00",
                             "2021-01-01 00:00:00Z",   "2021-1-01T00:00:00Z",
                             "2021-01-01T00:00:00.5Z", "2021-01-01T00:00:00+05:30",
                             "2021-01-01T00:00:00z",   ""}) {
        const auto fast = ArchiveJson::readCanonicalIsoUtc(text);
        if (fast) {
            EXPECT_EQ(fast, LocalTime::parseIsoUtc(text)) << text;
        }
        EXPECT_EQ(ArchiveJson::readIsoUtc(text), LocalTime::parseIsoUtc(text)) << text;
    }
}

}  // namespace
}  // namespace lumenary
