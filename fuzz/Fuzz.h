// Shared by the fuzz targets: every input is fed to one reader, and a reader may refuse it only with the core's own
// failure (a learner-facing message). Anything else, a crash, a sanitizer report, a foreign exception or a broken
// round trip, is a finding.
#pragma once

#include "model/Errors.h"

#include <QByteArray>
#include <cstddef>
#include <cstdint>
#include <cstdlib>

namespace Fuzz {

inline QByteArray bytes(const uint8_t* data, size_t size)
{
    return QByteArray(reinterpret_cast<const char*>(data), qsizetype(size));
}

// Runs the reader; the core's refusal ends the input quietly.
template <typename F> int guarded(F&& reader)
{
    try {
        reader();
    } catch (const Failure&) {
    }
    return 0;
}

// A property every accepted input must have; aborting makes the fuzzer keep the input that broke it.
inline void require(bool holds)
{
    if (!holds)
        std::abort();
}

} // namespace Fuzz
