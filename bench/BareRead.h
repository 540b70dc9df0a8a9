#pragma once

// The baseline both load benchmarks measure against: every row read with SQLite's C
// interface and every body opened with OpenSSL, nothing of the program's own code.

#include <QString>

#include <openssl/evp.h>
#include <sqlite3.h>

#include <algorithm>
#include <vector>

namespace BareRead {

inline QString text(sqlite3_stmt* s, int column)
{
    const auto* utf8 = reinterpret_cast<const char*>(sqlite3_column_text(s, column));
    return QString::fromUtf8(utf8, sqlite3_column_bytes(s, column));
}

// Calls row(statement, body) for every note, in deck order, with ctx set up for AES-256-GCM
// under the key. False when a body is too short or does not open.
template <typename Row>
bool eachNote(sqlite3* db, EVP_CIPHER_CTX* ctx, std::vector<unsigned char>& plain, Row row)
{
    sqlite3_stmt* s = nullptr;
    sqlite3_prepare_v2(db,
                       "SELECT id,title,body,color,created,modified,archived,sort_order,pinned,"
                       "text_direction FROM notes ORDER BY sort_order ASC;",
                       -1, &s, nullptr);
    bool opened = true;
    while (opened && sqlite3_step(s) == SQLITE_ROW) {
        const auto* body = static_cast<const unsigned char*>(sqlite3_column_blob(s, 2));
        const int size = sqlite3_column_bytes(s, 2);
        if (!body || size < 28) {
            opened = false;
            break;
        }
        const int length = size - 28;
        if (plain.size() < static_cast<size_t>(length))
            plain.resize(static_cast<size_t>(length));
        unsigned char tag[16];
        std::copy(body + 12 + length, body + size, tag);
        int n = 0;
        int m = 0;
        EVP_DecryptInit_ex(ctx, nullptr, nullptr, nullptr, body);
        EVP_DecryptUpdate(ctx, plain.data(), &n, body + 12, length);
        EVP_CIPHER_CTX_ctrl(ctx, EVP_CTRL_GCM_SET_TAG, 16, tag);
        opened = EVP_DecryptFinal_ex(ctx, plain.data() + n, &m) == 1;
        if (opened)
            row(s, QString::fromUtf8(reinterpret_cast<const char*>(plain.data()), n + m));
    }
    sqlite3_finalize(s);
    return opened;
}

} // namespace BareRead
