// The pool refresh with every outside dependency passed in: how documents are parsed and which day it is.
#pragma once

#include "OfficialUpdates.h"

namespace OfficialUpdates {

// Turns one downloaded document into a one-pool pack (OfficialUpdates::parse without an identify function).
using Parse = std::function<Pack(const QByteArray& data, const QUrl& source, const QString& level,
                                 const Corrections& corrections)>;

// refresh with its parse function and its idea of today ("yyyy-MM-dd") given; the public refresh uses parse and
// Dates::today().
Pack refresh(const Pack& pack, const Corrections& corrections, const Fetch& fetch, const Parse& parse,
             const QString& today);

// Whether a parsed pool N replaces the pool O of the same level and start date (nullptr: there is none).
bool shouldInstall(const Pool& n, const Pool* o, const Corrections& corrections);

} // namespace OfficialUpdates
