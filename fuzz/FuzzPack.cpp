// Installed packs: decoded, validated, and what passes must encode to bytes that decode to the same pack.
#include "Fuzz.h"
#include "model/Pack.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    return Fuzz::guarded([&] {
        const Pack pack = Pack::fromBytes(Fuzz::bytes(data, size));
        pack.validate();
        Fuzz::require(Pack::fromBytes(pack.toBytes()) == pack);
    });
}
