// Confirmation alerts: a window-modal message box with a cancel button and one action.
#pragma once

#include <QMessageBox>
#include <functional>

namespace Confirm {

struct Request
{
    QString title;
    QString message;
    QString cancelText;
    QString actionText;
    // DestructiveRole for irreversible actions, AcceptRole otherwise.
    QMessageBox::ButtonRole actionRole = QMessageBox::AcceptRole;
};

// Opens the alert without blocking; onAction runs when the action is chosen, onClosed whenever the alert closes
// (after onAction, or after any other dismissal). The alert's object name is "confirmation".
QMessageBox* open(QWidget* parent, const Request& request, std::function<void()> onAction,
                  std::function<void()> onClosed = {});

} // namespace Confirm
