#include "notes/Crypto.h"

#include "notes/Note.h"
#include "platform/Files.h"

#include <QFileInfo>
#include <QStringDecoder>

#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <openssl/rand.h>

#include <algorithm>
#include <cerrno>
#include <climits>

using namespace Qt::Literals::StringLiterals;

namespace {

PersistenceError corruptBody() { return PersistenceError(PersistenceError::Kind::CorruptBody); }

const unsigned char* bytesOf(const char* p) { return reinterpret_cast<const unsigned char*>(p); }
unsigned char* bytesOf(char* p) { return reinterpret_cast<unsigned char*>(p); }

} // namespace

Crypto::KeyBytes::~KeyBytes() { OPENSSL_cleanse(bytes.data(), bytes.size()); }

void Crypto::ContextFree::operator()(evp_cipher_ctx_st* ctx) const { EVP_CIPHER_CTX_free(ctx); }

Crypto::Crypto(QString keyPath, bool allowCreation, Files& files)
    : keyPath(std::move(keyPath))
    , allowCreation(allowCreation)
    , files(files)
{
}

// Out of line so that the contexts (which hold the expanded key) are freed, and wiped by
// OpenSSL, where their type is complete.
Crypto::~Crypto() = default;

const Crypto::KeyBytes& Crypto::key()
{
    if (cachedKey)
        return *cachedKey;
    auto fetched = std::make_unique<KeyBytes>();
    if (!readKeyFile(*fetched)) {
        if (!allowCreation)
            throw PersistenceError(PersistenceError::Kind::MissingKey);
        createKeyFile(*fetched);
        keyNameUnsynced = true;
    }
    // No body is sealed under a new key before its name is on the disk: a power cut could
    // otherwise leave a database whose bodies no key file opens. Until a sync succeeds, every
    // fetch tries it again.
    if (keyNameUnsynced) {
        const QString folder = QFileInfo(keyPath).path();
        if (const Files::Result synced = files.syncFolder(folder); !synced)
            throw FileSystemError(synced.error, folder);
        keyNameUnsynced = false;
    }
    cachedKey = std::move(fetched);
    return *cachedKey;
}

bool Crypto::readKeyFile(KeyBytes& into) const
{
    // One byte more than a key, so that a longer file shows itself without reading it all.
    QByteArray bytes;
    const Files::Result read = files.read(keyPath, bytes, KeySize + 1);
    const bool fits = read && bytes.size() == KeySize;
    if (fits)
        std::copy(bytes.cbegin(), bytes.cend(), into.data());
    OPENSSL_cleanse(bytes.data(), static_cast<size_t>(bytes.size()));
    if (read.error == ENOENT)
        return false;
    if (!read)
        throw FileSystemError(read.error, keyPath);
    if (!fits)
        throw PersistenceError(PersistenceError::Kind::InvalidKey);
    return true;
}

void Crypto::createKeyFile(KeyBytes& into) const
{
    // Not a file error, but the key cannot be made; the person sees which file it was for.
    if (RAND_bytes(into.data(), KeySize) != 1)
        throw FileSystemError(EIO, keyPath);
    // The key appears under its name complete or not at all, and never replaces a key that
    // another process put there in the meantime.
    const QByteArray key =
        QByteArray::fromRawData(reinterpret_cast<const char*>(into.data()), KeySize);
    const Files::Result created = files.create(keyPath, key);
    if (created)
        return;
    if (created.error != EEXIST)
        throw FileSystemError(created.error, keyPath);
    // Another process won the race; its key is the one every body will be sealed under.
    if (!readKeyFile(into))
        throw FileSystemError(ENOENT, keyPath);
}

evp_cipher_ctx_st* Crypto::sealContext()
{
    if (!sealer) {
        const KeyBytes& k = key();
        Context ctx(EVP_CIPHER_CTX_new());
        if (!ctx
            || EVP_EncryptInit_ex(ctx.get(), EVP_aes_256_gcm(), nullptr, k.data(), nullptr) != 1)
            throw corruptBody();
        sealer = std::move(ctx);
    }
    return sealer.get();
}

evp_cipher_ctx_st* Crypto::openContext()
{
    if (!opener) {
        const KeyBytes& k = key();
        Context ctx(EVP_CIPHER_CTX_new());
        if (!ctx
            || EVP_DecryptInit_ex(ctx.get(), EVP_aes_256_gcm(), nullptr, k.data(), nullptr) != 1)
            throw corruptBody();
        opener = std::move(ctx);
    }
    return opener.get();
}

QByteArray Crypto::seal(const QString& text)
{
    EVP_CIPHER_CTX* ctx = sealContext();
    const QByteArray utf8 = text.toUtf8();
    if (utf8.size() > INT_MAX - NonceSize - TagSize)
        throw corruptBody();
    const int length = static_cast<int>(utf8.size());

    QByteArray sealed(NonceSize + length + TagSize, Qt::Uninitialized);
    unsigned char* nonce = bytesOf(sealed.data());
    unsigned char* cipherText = nonce + NonceSize;
    unsigned char* tag = cipherText + length;
    if (RAND_bytes(nonce, NonceSize) != 1)
        throw corruptBody();

    int written = 0;
    int finalWritten = 0;
    if (EVP_EncryptInit_ex(ctx, nullptr, nullptr, nullptr, nonce) != 1
        || EVP_EncryptUpdate(ctx, cipherText, &written, bytesOf(utf8.constData()), length) != 1
        || EVP_EncryptFinal_ex(ctx, cipherText + written, &finalWritten) != 1
        || written + finalWritten != length
        || EVP_CIPHER_CTX_ctrl(ctx, EVP_CTRL_GCM_GET_TAG, TagSize, tag) != 1)
        throw corruptBody();
    return sealed;
}

QString Crypto::open(QByteArrayView sealed)
{
    // The key's own error comes first and unchanged: a missing key is no corrupt body.
    EVP_CIPHER_CTX* ctx = openContext();
    if (sealed.size() < NonceSize + TagSize || sealed.size() > INT_MAX)
        throw corruptBody();
    const int length = static_cast<int>(sealed.size()) - NonceSize - TagSize;
    const unsigned char* nonce = bytesOf(sealed.data());
    const unsigned char* cipherText = nonce + NonceSize;
    // The tag is only read, but OpenSSL's control call takes a mutable pointer.
    std::array<unsigned char, TagSize> tag;
    std::copy(cipherText + length, cipherText + length + TagSize, tag.begin());

    if (plain.size() < length + 1)
        plain.resize(length + 1);
    unsigned char* out = bytesOf(plain.data());
    int written = 0;
    int finalWritten = 0;
    if (EVP_DecryptInit_ex(ctx, nullptr, nullptr, nullptr, nonce) != 1
        || EVP_DecryptUpdate(ctx, out, &written, cipherText, length) != 1
        || EVP_CIPHER_CTX_ctrl(ctx, EVP_CTRL_GCM_SET_TAG, TagSize, tag.data()) != 1
        || EVP_DecryptFinal_ex(ctx, out + written, &finalWritten) != 1)
        throw corruptBody();

    // Strict decoding in one pass over the bytes: a replacement character must never stand
    // in for bytes that were not text, so any error refuses the body. Stateless makes a
    // character cut short at the end an error rather than something held for more input, and
    // a leading byte order mark is text the person wrote, not a marker to drop.
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless
                                                     | QStringDecoder::Flag::ConvertInitialBom);
    QString text = decoder.decode(QByteArrayView(plain.constData(), written + finalWritten));
    if (decoder.hasError())
        throw corruptBody();
    return text;
}
