#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QString>

#include <array>
#include <memory>

class Files;
struct evp_cipher_ctx_st;

// Seals and opens note bodies with AES-256-GCM under the one key kept in the key file.
//
// A sealed body is nonce (12 bytes, random per seal) | ciphertext (as long as the UTF-8 text)
// | tag (16 bytes), with no associated data, so an empty text seals to 28 bytes.
//
// The key file holds exactly 32 raw bytes. It is read when first needed, and created only
// when the file is missing and creation is allowed (the database is empty, so no body can be
// sealed under a key that is then lost). Creation is safe against another process doing the
// same at the same moment: both end up with the key that reached the disk first. A new key
// is used only once its folder has been synced, so its name survives a power cut.
//
// Errors: PersistenceError (InvalidKey, MissingKey, CorruptBody) or FileSystemError for any
// other failure of the key file, or of the sync of a new key's folder. A failed key fetch
// remembers nothing but a sync still owed; the next call tries again. Main thread only.
class Crypto final {
public:
    // Touches nothing on disk. files must outlive the cipher.
    Crypto(QString keyPath, bool allowCreation, Files& files);
    ~Crypto();
    Crypto(const Crypto&) = delete;
    Crypto& operator=(const Crypto&) = delete;

    QByteArray seal(const QString& text);
    // Takes a view so that a caller holding bytes elsewhere (a database row) pays no copy.
    QString open(QByteArrayView sealed);

    static constexpr int KeySize = 32;
    static constexpr int NonceSize = 12;
    static constexpr int TagSize = 16;

private:
    // Key bytes that are wiped when they go, wherever they go.
    class KeyBytes final {
    public:
        KeyBytes() = default;
        ~KeyBytes();
        KeyBytes(const KeyBytes&) = delete;
        KeyBytes& operator=(const KeyBytes&) = delete;
        unsigned char* data() { return bytes.data(); }
        const unsigned char* data() const { return bytes.data(); }

    private:
        std::array<unsigned char, KeySize> bytes{};
    };

    struct ContextFree {
        void operator()(evp_cipher_ctx_st* ctx) const;
    };
    using Context = std::unique_ptr<evp_cipher_ctx_st, ContextFree>;

    const KeyBytes& key();
    // Reads the key file into `into`. False when the file does not exist; throws for a file
    // of the wrong size and for any other failure.
    bool readKeyFile(KeyBytes& into) const;
    void createKeyFile(KeyBytes& into) const;
    // One context per direction, keyed once and given a fresh nonce per body, so a launch
    // that opens thousands of bodies runs the key schedule once.
    evp_cipher_ctx_st* sealContext();
    evp_cipher_ctx_st* openContext();

    QString keyPath;
    bool allowCreation;
    Files& files;
    std::unique_ptr<KeyBytes> cachedKey;
    // A key file was made (by this process or the one that won the race) and its folder has
    // not been synced since.
    bool keyNameUnsynced = false;
    Context sealer;
    Context opener;
    QByteArray plain; // reused for every open; bodies are decoded from here
};
