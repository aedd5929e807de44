// Names how a call ended, so that test tables can list an expected failure as one word.
#pragma once

#include "model/Errors.h"
#include "updater/OfficialUpdates.h"

#include <QString>

// "download", "format", "figures", "combined" (the kinds of UpdateError), "review" (ReviewRequest), "invalid"
// (DataError), "other" for anything else thrown, or "" when f returned.
template <typename F> QString outcome(F&& f)
{
    using OfficialUpdates::UpdateError;
    try {
        f();
        return QString();
    } catch (const UpdateError& e) {
        switch (e.which()) {
        case UpdateError::download:
            return QStringLiteral("download");
        case UpdateError::format:
            return QStringLiteral("format");
        case UpdateError::figures:
            return QStringLiteral("figures");
        case UpdateError::combinedFigures:
            return QStringLiteral("combined");
        }
    } catch (const OfficialUpdates::ReviewRequest&) {
        return QStringLiteral("review");
    } catch (const DataError&) {
        return QStringLiteral("invalid");
    } catch (...) {
    }
    return QStringLiteral("other");
}
