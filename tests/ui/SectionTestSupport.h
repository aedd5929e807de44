// Helpers of the section screen tests: a store over a test pack, finished attempts made through the store, shots.
#pragma once

#include "store/Store.h"
#include "support/Fixtures.h"

#include <QDir>
#include <QPixmap>
#include <QTemporaryDir>
#include <QTest>
#include <QWidget>
#include <memory>

namespace SectionTest {

// Pools that are current whatever day the tests run: they started a year ago and run four years.
inline QString startedLastYear()
{
    return QDate::currentDate().addYears(-1).toString(QStringLiteral("yyyy-MM-dd"));
}

// Writes the learner data a store reads at start-up into the folder's storage folder.
inline void writeProgress(const QTemporaryDir& dir, const Saved& saved)
{
    QDir().mkpath(dir.filePath(QStringLiteral("data")));
    Fixtures::writeFile(dir.filePath(QStringLiteral("data/progress.json")), saved.toBytes());
}

// A store over a pack written into the folder, keeping its files in the same folder.
inline std::unique_ptr<Store> makeStore(const QTemporaryDir& dir, const Pack& pack)
{
    const QString packPath = dir.filePath(QStringLiteral("pack.json"));
    Fixtures::writeFile(packPath, pack.toBytes());
    auto store = std::make_unique<Store>(packPath, dir.filePath(QStringLiteral("data")));
    // A pack the store refuses would leave it without a storage folder and every save failing.
    if (!store->message().isEmpty())
        qFatal("test store not ready: %s", qPrintable(store->message()));
    return store;
}

// Plays a whole session of the pool through the store: the first `right` questions answered correctly, the rest left
// unanswered (which scores them wrong), `seconds` on the store's clock.
inline void playSession(Store& store, double& clock, const Pool& pool, const QString& mode, const QString& name,
                        qint64 right, double seconds, const QString& code = {})
{
    store.begin(pool, mode, name, false, code);
    QVERIFY2(store.session().has_value(), qPrintable(store.message()));
    const QList<Question> questions = store.session()->questions;
    for (qsizetype i = 0; i < std::min<qsizetype>(right, questions.size()); ++i) {
        store.move(i);
        store.answer(questions.at(i).correct);
    }
    clock += seconds;
    store.finish();
    QVERIFY(store.result().has_value());
    store.setResult(std::nullopt);
}

// Saves what the widget shows into the build tree's screenshot folder and returns the file's path.
inline QString screenshot(QWidget& widget, const QString& name, int width = 820)
{
    widget.resize(width, std::max(widget.sizeHint().height(), widget.heightForWidth(width)));
    widget.ensurePolished();
    const QString folder = QStringLiteral(KESTOVAN_BUILD_DIR "/screenshots");
    QDir().mkpath(folder);
    const QString path = folder + QLatin1Char('/') + name + QStringLiteral(".png");
    widget.grab().save(path);
    return path;
}

} // namespace SectionTest
