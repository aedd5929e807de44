// Saving a finished result as a text file the learner chooses.
#include "Store.h"

#include "ResultText.h"

void Store::exportResult(const Result& result)
{
    // Without a panel nobody can choose a place, which is the same as cancelling.
    if (!m_savePanel)
        return;
    const std::optional<QString> path = m_savePanel(QStringLiteral("Aerowen-Result.txt"));
    if (!path || path->isEmpty())
        return;
    try {
        writeFileAtomically(*path, resultExportText(result).toUtf8());
    } catch (const Failure& failure) {
        setMessage(failure.description());
    }
}
