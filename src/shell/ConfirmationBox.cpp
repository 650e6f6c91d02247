#include "ConfirmationBox.h"

#include <QPushButton>
#include <string>

namespace lumenary {
namespace {

QString qstr(std::string_view text) {
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

}  // namespace

std::unique_ptr<QMessageBox> confirmationBox(QWidget* parent, const Confirmation& question) {
    auto box = std::make_unique<QMessageBox>(parent);
    if (parent != nullptr)
        box->setWindowModality(Qt::WindowModal);
    box->setIcon(QMessageBox::Warning);
    box->setWindowTitle(qstr(question.title));
    box->setText(qstr(question.title));
    box->setInformativeText(qstr(question.message));
    box->addButton(qstr(question.confirmButton), QMessageBox::DestructiveRole);
    QPushButton* cancel = box->addButton(qstr(question.cancelButton), QMessageBox::RejectRole);
    box->setDefaultButton(cancel);
    box->setEscapeButton(cancel);
    return box;
}

bool confirm(QWidget* parent, const Confirmation& question) {
    const auto box = confirmationBox(parent, question);
    box->exec();
    return box->clickedButton() != nullptr &&
           box->buttonRole(box->clickedButton()) == QMessageBox::DestructiveRole;
}

}  // namespace lumenary
