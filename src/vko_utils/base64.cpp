#include "base64.h"

#include <array>
#include <bit>
#include <cstddef>
#include <cstdio>
#include <cstring>

#include "log.h"
#include "utils_source.h"

unsigned char* psB64_DecTable = nullptr;

namespace {

constexpr char ALPHABET[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr size_t TABLE_SIZE = 256;
constexpr char PADDING = '=';

/** Two characters for every value of 12 bits, so that a group of 24 bits costs two look-ups and not four. */
struct CharacterPair {
    char characters[2];
};

constexpr std::array<CharacterPair, 4096> MakePairs() {
    std::array<CharacterPair, 4096> pairs = {};
    for (size_t i = 0; i < pairs.size(); i++) {
        pairs[i] = {{ALPHABET[i >> 6], ALPHABET[i & 63]}};
    }
    return pairs;
}

constexpr std::array<CharacterPair, 4096> PAIRS = MakePairs();

/**
 * Turns a number into the one whose bytes in memory run from the most significant to the least, and back. In
 * this form compilers know the exchange of bytes and make one instruction of it.
 */
uint64_t BigEndian(uint64_t value) {
    if constexpr (std::endian::native == std::endian::little) {
        value = (value & 0x00FF00FF00FF00FF) << 8 | (value >> 8 & 0x00FF00FF00FF00FF);
        value = (value & 0x0000FFFF0000FFFF) << 16 | (value >> 16 & 0x0000FFFF0000FFFF);
        value = value << 32 | value >> 32;
    }
    return value;
}

void EncodeGroup(char* characters, size_t group) {
    memcpy(characters, &PAIRS[group >> 12], 2);
    memcpy(characters + 2, &PAIRS[group & 0xFFF], 2);
}

/** Encodes with zeros for the bytes that the last group lacks, which the caller overwrites with padding. */
void EncodeAll(const unsigned char* bytes, size_t size, char* characters) {
    size_t at = 0;
    // Two groups a step; six bytes are used of the eight that are read at once.
    for (uint64_t groups = {}; size - at >= sizeof groups; at += 6, characters += 8) {
        memcpy(&groups, bytes + at, sizeof groups);
        groups = BigEndian(groups) >> 16;
        EncodeGroup(characters, static_cast<size_t>(groups >> 24));
        EncodeGroup(characters + 4, static_cast<size_t>(groups & 0xFFFFFF));
    }
    for (; at < size; at += 3, characters += 4) {
        size_t group = static_cast<size_t>(bytes[at]) << 16;
        group |= at + 1 < size ? static_cast<size_t>(bytes[at + 1]) << 8 : 0;
        group |= at + 2 < size ? static_cast<size_t>(bytes[at + 2]) : 0;
        EncodeGroup(characters, group);
    }
}

/**
 * A buffer for the encoded text and its NUL; NULL when there is no memory. A length that is not larger than
 * the size has wrapped: no memory can be that large.
 */
void* AllocateEncoded(uint64_t size, uint64_t encoded_length) {
    return encoded_length > size ? plat_alloc(encoded_length + 1) : nullptr;
}

/** Everything that a decoding step needs. */
struct Decoding {
    const unsigned char* characters;
    unsigned char* bytes;
    size_t output_length;
    const unsigned char* table;
};

/** Whether one of eight bytes is the padding character. */
bool HoldsPadding(const unsigned char* bytes) {
    constexpr uint64_t ones = 0x0101010101010101;
    uint64_t word = {};
    memcpy(&word, bytes, sizeof word);
    word ^= ones * static_cast<unsigned char>(PADDING);
    // A byte that is zero now borrows into its top bit.
    return ((word - ones) & ~word & (ones << 7)) != 0;
}

/** The value of one character. The test looks at the output buffer, not at the input: kept so on purpose. */
uint64_t CharacterValue(const Decoding& decoding, size_t at) {
    if (at < decoding.output_length && decoding.bytes[at] == PADDING) {
        return 0;
    }
    return decoding.table[decoding.characters[at]];
}

/** Stores the lowest byte of `bits` where it belongs to the output. */
void StoreByte(const Decoding& decoding, size_t to, uint64_t bits) {
    if (to < decoding.output_length) {
        decoding.bytes[to] = static_cast<unsigned char>(bits);
    }
}

/** Decodes the group whose characters begin at `at`. */
void DecodeGroup(const Decoding& decoding, size_t at) {
    uint64_t group = 0;
    for (size_t i = 0; i < 4; i++) {
        group = group << 6 | CharacterValue(decoding, at + i);
    }
    const size_t to = at / 4 * 3;
    StoreByte(decoding, to, group >> 16);
    StoreByte(decoding, to + 1, group >> 8);
    StoreByte(decoding, to + 2, group);
}

/** Decodes eight characters into the upper six bytes of the result, without a look at the output buffer. */
uint64_t DecodeTwoGroups(const unsigned char* c, const unsigned char* table) {
    const uint64_t first = uint64_t{table[c[0]]} << 18 | uint64_t{table[c[1]]} << 12 |
                           uint64_t{table[c[2]]} << 6 | uint64_t{table[c[3]]};
    const uint64_t second = uint64_t{table[c[4]]} << 18 | uint64_t{table[c[5]]} << 12 |
                            uint64_t{table[c[6]]} << 6 | uint64_t{table[c[7]]};
    return first << 40 | second << 16;
}

/** Whether the eight characters or bytes that begin at `at` lie in front of `end`. */
bool EightFit(size_t at, size_t end) {
    return at + 8 <= end;
}

/**
 * Decodes two groups at a time from `at` on, as long as that gives the same as one by one. Returns where it
 * stopped.
 *
 * The output buffer is looked at ahead of the bytes written so far, hence always as the caller left it. So
 * eight characters whose eight bytes there hold no padding need no test of their own. Each step writes eight
 * bytes of which six count: the next step overwrites the other two, and they lie in front of every byte and
 * character that a later step looks at, since characters are ahead of the bytes made of them.
 */
size_t DecodePlain(const Decoding& decoding, size_t at, size_t character_count) {
    // Local copies, because a byte that is stored might be part of anything that is reached by a reference.
    const unsigned char* const characters = decoding.characters;
    const unsigned char* const table = decoding.table;
    unsigned char* const bytes = decoding.bytes;
    const size_t length = decoding.output_length;
    for (; EightFit(at, character_count) && EightFit(at / 4 * 3, length); at += 8) {
        if (at < length && (!EightFit(at, length) || HoldsPadding(bytes + at))) {
            break;
        }
        const uint64_t groups = BigEndian(DecodeTwoGroups(characters + at, table));
        memcpy(bytes + at / 4 * 3, &groups, sizeof groups);
    }
    return at;
}

void DecodeAll(const Decoding& decoding, size_t character_count) {
    size_t at = DecodePlain(decoding, 0, character_count);
    while (at != character_count) {
        DecodeGroup(decoding, at);
        at = DecodePlain(decoding, at + 4, character_count);
    }
}

/** Three bytes a group of four, less the padding at the end; never below 0. */
uint64_t DecodedLength(const unsigned char* characters, uint64_t count) {
    uint64_t length = count / 4 * 3;
    if (length == 0) {
        return 0;
    }
    length -= characters[count - 1] == PADDING ? 1 : 0;
    length -= characters[count - 2] == PADDING ? 1 : 0;
    return length;
}

}  // namespace

uint64_t VKO_Base64Encoder(const void* pBinIn, uint64_t ztBinLen, void* pB64Out, uint64_t* pztB64OutLen) {
    const int logged_length = static_cast<int>(ztBinLen);
    if (ztBinLen == 0) {
        VKO_LOG(gl_pLogBaseName, VKO_UTILS_SOURCE, VKO_LOG_ERR, "BinLen[%06d] <= 0 Fail! rc[%06d]\n",
                logged_length, -1);
        return VKO_BASE64_ENCODE_ERROR;
    }
    // The same as (ztBinLen + 2) / 3 * 4, but without wrapping before the division.
    const uint64_t length = ((ztBinLen - 1) / 3 + 1) * 4;
    void* own_buffer = pB64Out ? nullptr : AllocateEncoded(ztBinLen, length);
    const bool has_buffer = pB64Out || own_buffer;
    if (pztB64OutLen) {
        *pztB64OutLen = has_buffer ? length : 0;
    }
    if (!has_buffer) {
        VKO_LOG(gl_pLogBaseName, VKO_UTILS_SOURCE, VKO_LOG_ERR, "BinLen[%06d] calloc fail\n", logged_length);
        return VKO_BASE64_ENCODE_ERROR;
    }
    if (!pztB64OutLen) {
        VKO_LOG(gl_pLogBaseName, VKO_UTILS_SOURCE, VKO_LOG_ERR, "BinLen[%06d] pztB64OutLen=null\n",
                logged_length);
        plat_free(own_buffer);
        return VKO_BASE64_ENCODE_ERROR;
    }
    auto* characters = static_cast<char*>(pB64Out ? pB64Out : own_buffer);
    EncodeAll(static_cast<const unsigned char*>(pBinIn), ztBinLen, characters);
    static constexpr size_t padding_count[] = {0, 2, 1};
    const size_t padding = padding_count[ztBinLen % 3];
    memset(characters + length - padding, PADDING, padding);
    characters[length] = '\0';
    // Nobody else knows of a buffer of our own, so it cannot outlive the call.
    plat_free(own_buffer);
    return length;
}

int32_t VKO_Base64Decoder(const void* pB64In, uint64_t ztBase64InLen, void* pBinOut, uint64_t* pztBinOutLen) {
    const uint32_t start = VKO_GetTickOfDay();
    if (!pB64In || !pztBinOutLen) {
        VKO_LOG(gl_pLogBaseName, VKO_UTILS_SOURCE, VKO_LOG_ERR,
                "pztBinOutLen=null Invalid Parameter rc[%06d]\n", VKO_ERR_BASE64_ARGUMENT);
        return VKO_ERR_BASE64_ARGUMENT;
    }
    const int logged_length = static_cast<int>(ztBase64InLen);
    if (ztBase64InLen % 4 != 0) {
        VKO_LOG(gl_pLogBaseName, VKO_UTILS_SOURCE, VKO_LOG_WRN,
                "Base64InLen[%06d] [(ztBase64InLen %% 4)]=[%d] Exp[0] Pay Attention!!!! rc[%06d]\n",
                logged_length, static_cast<int>(ztBase64InLen % 4), VKO_ERR_BASE64_ARGUMENT);
    }
    if (!psB64_DecTable && VKO_Base64DecTblAlloc() != 0) {
        VKO_LOG(gl_pLogBaseName, VKO_UTILS_SOURCE, VKO_LOG_ERR, "Alloc_Base64_DecTable() fail rc[%06d]\n",
                VKO_ERR_BASE64_TABLE);
        return VKO_ERR_BASE64_TABLE;
    }
    const auto* characters = static_cast<const unsigned char*>(pB64In);
    auto* bytes = static_cast<unsigned char*>(pBinOut);
    const uint64_t length = DecodedLength(characters, ztBase64InLen);
    DecodeAll({characters, bytes, length, psB64_DecTable}, ztBase64InLen / 4 * 4);
    bytes[length] = '\0';
    *pztBinOutLen = length;
    VKO_Base64DecTblFree();
    VKO_LOG(gl_pLogBaseName, VKO_UTILS_SOURCE, VKO_LOG_WRN,
            "Base64InLen[%06d] pBinOutData[%08Xh] BinOutLen[%06d] t[%ld]ms (Done)\n", logged_length,
            LogHandle(pBinOut), static_cast<int>(length), static_cast<long>(VKO_GetTickOfDay() - start));
    return static_cast<int32_t>(length);
}

int32_t VKO_Base64DecTblAlloc() {
    if (psB64_DecTable) {
        return 0;
    }
    psB64_DecTable = static_cast<unsigned char*>(plat_alloc(TABLE_SIZE));
    if (!psB64_DecTable) {
        VKO_LOG(gl_pLogBaseName, VKO_UTILS_SOURCE, VKO_LOG_ERR, "calloc psB64_DecTable[%08Xh]fail\n",
                LogHandle(psB64_DecTable));
        return -1;
    }
    for (size_t value = 0; value < 64; value++) {
        psB64_DecTable[static_cast<unsigned char>(ALPHABET[value])] = static_cast<unsigned char>(value);
    }
    return 0;
}

int32_t VKO_Base64DecTblFree() {
    if (!psB64_DecTable) {
        return 1;
    }
    plat_free(psB64_DecTable);
    psB64_DecTable = nullptr;
    // An error line for a success: kept so on purpose.
    VKO_LOG(gl_pLogBaseName, VKO_UTILS_SOURCE, VKO_LOG_ERR, "free B64_DecTable OK\n");
    return 0;
}
