// The print module: the print dialog and the printer, so that only printing loads the print support library.
#include "Entries.h"

#include <QPrintDialog>
#include <QPrinter>
#include <QTextDocument>
#include <type_traits>

extern "C" Q_DECL_EXPORT bool kestovanPrintDocument(QTextDocument& document, const QString& name,
                                                    const QString& dialogTitle, QWidget* parent)
{
    static_assert(std::is_same_v<decltype(kestovanPrintDocument), Entries::PrintDocument>);
    QPrinter printer(QPrinter::HighResolution);
    printer.setDocName(name);
    QPrintDialog dialog(&printer, parent);
    dialog.setWindowTitle(dialogTitle);
    if (dialog.exec() != QDialog::Accepted)
        return false;
    document.print(&printer);
    return true;
}
