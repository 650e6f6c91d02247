#pragma once
// The few-shot bank: the exchanges that show most of her manner, kept different from each other,
// which every model prompt quotes.

#include <string>
#include <string_view>
#include <vector>

#include "importer/ChatMessage.h"
#include "voice/Exchange.h"

namespace lumenary::FewShot {

/// At most `limit` exchanges of `speaker` (sender name as the archive writes it), oldest reply
/// first: those with a prompt and a reply of 2 to 40 space words without a link, taken from the
/// highest characteristicness down (earlier exchange first on equal scores), skipping any whose
/// reply shares more than 55% of its tokens with one already taken. A limit of 0 or less gives an
/// empty list. Pure; never fails.
std::vector<Exchange> mine(const std::vector<ChatMessage>& messages, const std::string& speaker,
                           int limit);

/// How typical of her an exchange is: a reply near 7 words scores most, and emoji, a question,
/// one of her short endearments and a prompt of 3 or more words add to it. From 1.0 to 9.9.
double characteristicness(const Exchange& exchange);

/// The lowercased letter-or-number runs of `text`, in order, duplicates kept.
std::vector<std::string> tokenize(std::string_view text);

}  // namespace lumenary::FewShot
