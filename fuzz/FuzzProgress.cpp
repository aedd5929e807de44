// The progress file: decoded, and what decodes must come back the same from the plain encoder and from the
// incremental one the store saves with.
#include "Fuzz.h"
#include "model/Learner.h"
#include "store/Store.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    return Fuzz::guarded([&] {
        const Saved saved = Saved::fromBytes(Fuzz::bytes(data, size));
        Fuzz::require(Saved::fromBytes(saved.toBytes()) == saved);
        ProgressEncoder encoder;
        Fuzz::require(Saved::fromBytes(encoder.encode(saved)) == saved);
    });
}
