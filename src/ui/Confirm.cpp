// Confirmation alerts.
#include "Confirm.h"

#include "Theme.h"

#include <QPushButton>

namespace Confirm {

QMessageBox* open(QWidget* parent, const Request& request, std::function<void()> onAction,
                  std::function<void()> onClosed)
{
    auto* box = new QMessageBox(parent);
    box->setObjectName(QStringLiteral("confirmation"));
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setIcon(request.actionRole == QMessageBox::DestructiveRole ? QMessageBox::Warning : QMessageBox::Question);
    box->setWindowTitle(request.title);
    box->setText(QStringLiteral("<b>%1</b>").arg(request.title.toHtmlEscaped()));
    box->setTextFormat(Qt::RichText);
    box->setInformativeText(request.message);
    box->setAccessibleName(request.title);
    box->setAccessibleDescription(request.message);
    QPushButton* cancel = box->addButton(Theme::buttonText(request.cancelText), QMessageBox::RejectRole);
    cancel->setObjectName(QStringLiteral("confirmationCancel"));
    QPushButton* action = box->addButton(Theme::buttonText(request.actionText), request.actionRole);
    action->setObjectName(QStringLiteral("confirmationAction"));
    cancel->setAccessibleName(request.cancelText);
    action->setAccessibleName(request.actionText);
    if (request.actionRole == QMessageBox::DestructiveRole)
        action->setProperty("destructive", true);
    box->setDefaultButton(cancel);
    box->setEscapeButton(cancel);
    box->setWindowModality(Qt::WindowModal);
    QObject::connect(box, &QMessageBox::finished, box, [box, action, onAction, onClosed] {
        if (box->clickedButton() == action && onAction)
            onAction();
        if (onClosed)
            onClosed();
    });
    box->open();
    return box;
}

} // namespace Confirm
