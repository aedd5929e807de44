// Child process of the crash-safety test: saves a large progress file over and over until killed.
#include "support/Fixtures.h"

#include "store/Store.h"

#include <QCoreApplication>
#include <cstdio>

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    if (argc != 3) {
        std::fprintf(stderr, "usage: progress-writer <folder> <pack>\n");
        return 2;
    }
    const QString folder = QString::fromLocal8Bit(argv[1]);
    const Pack pack = Pack::fromBytes(Fixtures::readFile(QString::fromLocal8Bit(argv[2])));

    // Two whole states that differ in their first profile's name; each carries many full pool copies.
    Saved states[2] = {Saved::initial(), Saved::initial()};
    states[0].profiles[0].name = QStringLiteral("Writer A");
    states[1].profiles[0].name = QStringLiteral("Writer B");
    for (Saved& saved : states) {
        for (int i = 0; i < 60; ++i) {
            Session s;
            s.id = QUuid::createUuid();
            s.profile = saved.profiles[0].id;
            s.name = saved.profiles[0].name;
            s.pool = pack.pools.at(i % pack.pools.size());
            s.mode = Modes::exam;
            s.questions = s.pool.questions.mid(0, s.pool.examCount);
            saved.results.append(Result{QUuid::createUuid(), s, double(i), double(i)});
        }
    }

    ProgressEncoder encoder;
    const QString path = folder + QStringLiteral("/progress.json");
    for (quint64 n = 0;; ++n)
        writeFileAtomically(path, encoder.encode(states[n % 2]));
}
