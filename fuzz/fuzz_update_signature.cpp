// Any bytes as a signature file: what is accepted is, byte by byte, what the signer writes for the same
// statement.
#include "fuzz/FuzzTarget.h"
#include "programs/updater/trust/Signature.h"
#include "programs/updater/trust/SigningKey.h"

KOV_FUZZ_TARGET(file)
{
    static const SigningKey *const key = [] {
        auto *const sample = new SigningKey;
        require(sample->read(QStringLiteral(KOV_SAMPLE_KEYS "/first.key")).isEmpty());
        return sample;
    }();
    Signature::Statement statement;
    require(!Signature::read(file, {key->publicKey()}, &statement).isEmpty()
            || Signature::write(statement, *key) == file);
}
