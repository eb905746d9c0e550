// Any bytes as a signature file: what is accepted is, byte by byte, what the signer writes for the same statement.
#include "programs/updater/trust/Signature.h"
#include "programs/updater/trust/SigningKey.h"

#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static const SigningKey *const key = [] {
        auto *const sample = new SigningKey;
        if (!sample->read(QStringLiteral(KOV_SAMPLE_KEYS "/first.key")).isEmpty())
            std::abort();
        return sample;
    }();
    const QByteArray file(reinterpret_cast<const char *>(data), int(size));
    Signature::Statement statement;
    if (Signature::read(file, {key->publicKey()}, &statement).isEmpty()
        && Signature::write(statement, *key) != file)
        std::abort();
    return 0;
}
