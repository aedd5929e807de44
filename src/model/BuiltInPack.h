// The built-in pack in the compact form the build makes of resources/pools.json. Reading it takes a small part of
// the time the JSON text takes, and it is read at every start. The build checks the pack before writing this form
// and reads it back to check that it holds the same pack.
#pragma once

#include "Pack.h"

namespace BuiltInPack {

QByteArray encode(const Pack& pack);
// Throws DecodeError when the bytes are not one whole pack in this form.
Pack decode(const QByteArray& bytes);

} // namespace BuiltInPack
