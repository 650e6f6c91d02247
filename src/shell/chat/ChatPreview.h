#pragma once
// Pictures of the chat window for the design previews (`lumenary --screens OUT`), drawn from a
// made-up conversation in a temporary folder; nothing of the user's is read or written.

#include <filesystem>

namespace lumenary::ChatPreview {

/// Writes into `out` (created if missing):
/// - "chat.png": every kind of line (hers, her real message with its date, the user's, a notice)
///   under both banners, the key banner and the error banner;
/// - "chat-typing.png": the same conversation while she is typing;
/// - "chat-empty.png": a new conversation with an archive and a key, before anything was said.
/// Uses the running QApplication, or makes one on Qt's offscreen platform when there is none.
/// Runs on the GUI thread and blocks until the files are written; false when one could not be.
bool render(const std::filesystem::path& out);

}  // namespace lumenary::ChatPreview
