// The pending diagram review and the stored crops: the first byte picks the reader, the rest is its file.
#include "Fuzz.h"
#include "model/DiagramReview.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size == 0)
        return 0;
    const QByteArray file = Fuzz::bytes(data + 1, size - 1);
    return Fuzz::guarded([&] {
        if (data[0] % 2 == 0) {
            const DiagramReview review = DiagramReview::fromBytes(file);
            Fuzz::require(DiagramReview::fromBytes(review.toBytes()) == review);
        } else {
            const Corrections corrections = CorrectionsJson::fromBytes(file);
            Fuzz::require(CorrectionsJson::fromBytes(CorrectionsJson::toBytes(corrections)) == corrections);
        }
    });
}
