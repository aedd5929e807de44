// Child process of the crash-safety test and benchmark: saves a large progress file over and over until killed,
// through the writer thread the store uses.
#include "support/Fixtures.h"

#include "store/Store.h"

#include <QCoreApplication>
#include <cstdio>

// Arguments: the storage folder and the pack whose pools fill the states.
int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    const Pack pack = Pack::fromBytes(Fixtures::readFile(QString::fromLocal8Bit(argv[2])));
    // Two whole states that differ in their first profile's name; each carries many full pool copies.
    Saved states[2] = {Saved::initial(), Saved::initial()};
    for (Saved& saved : states) {
        saved.profiles[0].name = &saved == states ? QStringLiteral("Writer A") : QStringLiteral("Writer B");
        for (int i = 0; i < 60; ++i) {
            const Pool& pool = pack.pools.at(i % pack.pools.size());
            const Session s{QUuid::createUuid(),
                            saved.profiles[0].id,
                            saved.profiles[0].name,
                            pool,
                            Modes::exam,
                            {},
                            pool.questions.mid(0, pool.examCount),
                            {},
                            {},
                            {},
                            0,
                            0,
                            0,
                            true};
            saved.results.append(Result{QUuid::createUuid(), s, double(i), double(i)});
        }
    }
    ProgressWriter writer(QString::fromLocal8Bit(argv[1]) + QStringLiteral("/progress.json"), [] { std::abort(); });
    std::puts("saving"); // from here on every moment is part of a save
    std::fflush(stdout);
    // Handed over faster than written, as clicks are: some states are superseded before their turn.
    for (quint64 n = 0;; ++n) {
        writer.submit(states[n % 2]);
        if (n % 3 == 2)
            writer.flush();
    }
}
