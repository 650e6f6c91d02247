#pragma once
// The system prompt every model reply is generated under: who she is, how she writes, how she
// really replied, how to answer, what never to do, and the real exchanges closest to what the
// user just wrote. Its wording is part of how the product behaves, so it is fixed English with a
// handful of values from the persona filled in.

#include <string>
#include <vector>

#include "store/Persona.h"
#include "voice/Exchange.h"

namespace lumenary::SystemPrompt {

/// The whole prompt for `persona`, with `retrieved` (the retrieval hits for the user's message,
/// in order; may be empty) as the closing block. Dates are written in the user's locale and the
/// machine's time zone. Pure apart from reading the locale; never fails: averages that are not
/// finite numbers count as 1.
std::string build(const Persona& persona, const std::vector<Exchange>& retrieved);

/// The date after which she can know nothing: the archive's last date in the long date style of
/// the user's locale ("March 3, 2024" in US English), or "her last message" when there is none.
std::string lastDateText(const Persona& persona);

}  // namespace lumenary::SystemPrompt
