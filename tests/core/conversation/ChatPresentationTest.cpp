#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "TestSupport.h"
#include "conversation/ChatPresentation.h"

namespace lumenary {
namespace {

namespace Chat = ChatPresentation;
using Speaker = Store::Turn::Speaker;

Store::Turn turn(Speaker speaker, std::optional<Timestamp> realDate = std::nullopt) {
    Store::Turn t;
    t.speaker = speaker;
    t.text = "words";
    t.realDate = realDate;
    return t;
}

TEST(ChatPresentation, OnlyHerDatedTurnsAreRealMessagesAndTheirCaptionIsHerLocalDate) {
    // The tests run in Asia/Kolkata (UTC+5:30): 18:35 UTC on 31 December is 00:05 on 1 January
    // there, so a date read in UTC would show the wrong day and year.
    const Timestamp justAfterMidnight = 1'609'439'700;  // 2020-12-31T18:35:00Z
    EXPECT_EQ(Chat::realMessageCaption(turn(Speaker::her, justAfterMidnight)),
              "Real message · Jan 1, 2021 at 12:05\u202fAM");
    EXPECT_EQ(Chat::bubbleKind(turn(Speaker::her, justAfterMidnight)), Chat::BubbleKind::herReal);

    EXPECT_EQ(Chat::realMessageCaption(turn(Speaker::her)), std::nullopt);
    EXPECT_EQ(Chat::bubbleKind(turn(Speaker::her)), Chat::BubbleKind::hers);
    EXPECT_EQ(Chat::bubbleKind(turn(Speaker::me)), Chat::BubbleKind::mine);
    // A crisis reply is the application speaking, never her.
    EXPECT_EQ(Chat::bubbleKind(turn(Speaker::notice)), Chat::BubbleKind::notice);
}

TEST(ChatPresentation, BannersFollowTheKeyAndTheLastErrorIndependently) {
    Persona amma;
    const Chat::Banners none = Chat::banners(amma, true, std::nullopt);
    EXPECT_FALSE(none.key);
    EXPECT_FALSE(none.error);

    const Chat::Banners both = Chat::banners(amma, false, "The provider returned an empty reply.");
    ASSERT_TRUE(both.key);
    EXPECT_EQ(both.key->title, "Amma can only repeat old messages right now.");
    EXPECT_EQ(both.key->detail, "Add an API key and she'll talk properly, in her own voice.");
    EXPECT_EQ(both.key->button, "Add a key");
    ASSERT_TRUE(both.error);
    EXPECT_EQ(both.error->title, "Amma couldn't answer.");
    EXPECT_EQ(both.error->detail, "The provider returned an empty reply.");
    EXPECT_EQ(both.error->button, "Settings");

    Persona unnamed;
    unnamed.name = "  ";
    EXPECT_EQ(Chat::banners(unnamed, false, "x").error->title, "She couldn't answer.");
    EXPECT_EQ(Chat::windowTitle(unnamed), "Lumenary");
    EXPECT_EQ(Chat::composerPlaceholder(unnamed), "Message her…");
    EXPECT_EQ(Chat::windowTitle(amma), "Amma");
    EXPECT_EQ(Chat::composerPlaceholder(amma), "Message Amma…");
}

TEST(ChatPresentation, SendIsOfferedForAnythingButSpacesAndTabs) {
    EXPECT_FALSE(Chat::canSend(""));
    EXPECT_FALSE(Chat::canSend("  \t  "));
    EXPECT_TRUE(Chat::canSend("\n\n"));  // enabled; the conversation then ignores it
    EXPECT_TRUE(Chat::canSend("  ok  "));
    EXPECT_TRUE(Chat::canSend("🌸"));
}

TEST(ChatPresentation, TheEmptyConversationSaysHowSheWillAnswer) {
    Persona amma;
    amma.stats.messageCount = 12345;
    EXPECT_EQ(Chat::emptyState(amma, true).title, "Say something to her.");
    EXPECT_EQ(Chat::emptyState(amma, true).detail,
              "Amma will answer with things she really wrote — 12345 messages are indexed.");
    EXPECT_EQ(Chat::emptyState(amma, false).detail,
              "No archive yet. Import a WhatsApp export in Settings and she'll sound like "
              "herself.");
}

TEST(ChatPresentation, ScrollsOnlyWhenTheNumberOfTurnsChangesAndSomethingIsLeft) {
    EXPECT_TRUE(Chat::scrollsToNewest(3, 4));
    EXPECT_TRUE(Chat::scrollsToNewest(9, 2));  // replaced by a shorter transcript
    EXPECT_FALSE(Chat::scrollsToNewest(4, 4));
    EXPECT_FALSE(Chat::scrollsToNewest(4, 0));  // cleared: nothing to scroll to
}

TEST(ChatPresentation, HerWordsOnlyIsSavedAtOnce) {
    testing::TemporaryFolder folder;
    {
        Store store(folder.path());
        Chat::setHerWordsOnly(store, true);
        EXPECT_TRUE(store.persona().herWordsOnly);
    }
    EXPECT_TRUE(Store(folder.path()).persona().herWordsOnly);
    {
        Store store(folder.path());
        Chat::setHerWordsOnly(store, false);
    }
    EXPECT_FALSE(Store(folder.path()).persona().herWordsOnly);
}

}  // namespace
}  // namespace lumenary
