#pragma once
// Asking a Confirmation in a message box, with its cancel answer as the default and the escape.

#include <QMessageBox>
#include <memory>

#include "desktop/Confirmation.h"

namespace lumenary {

/// The box for `question`, not yet shown: window-modal over `parent` when there is one.
std::unique_ptr<QMessageBox> confirmationBox(QWidget* parent, const Confirmation& question);

/// Shows the box and waits for the answer; true only when the user chose the confirming button.
bool confirm(QWidget* parent, const Confirmation& question);

}  // namespace lumenary
