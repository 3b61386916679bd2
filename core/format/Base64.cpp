#include "format/Base64.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <string_view>

#if defined(__x86_64__)
#include <immintrin.h>
#endif

namespace Larkhaven::Base64 {

namespace {

constexpr std::string_view alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr qsizetype octetsOfALine = 57;
constexpr qsizetype lineLength = 76;

// --- Plain

/// For each of the four places in a group, what a character there gives of its 24 bits; `stray` where it
/// isn't of the alphabet. A group is four look-ups so, and one test.
constexpr std::uint32_t stray = 0x80000000;
using GroupTable = std::array<std::uint32_t, 256>;

constexpr std::array<GroupTable, 4> makeGroupTables()
{
    std::array<GroupTable, 4> tables{};
    for (std::size_t place = 0; place < tables.size(); ++place) {
        tables[place].fill(stray);
        for (std::size_t value = 0; value < alphabet.size(); ++value)
            tables[place][static_cast<unsigned char>(alphabet[value])] =
                static_cast<std::uint32_t>(value << (18 - 6 * place));
    }
    return tables;
}

constexpr std::array<GroupTable, 4> groupTables = makeGroupTables();

std::uint32_t groupBits(std::size_t place, char character)
{
    return groupTables[place][static_cast<unsigned char>(character)];
}

std::uint32_t groupBits(std::size_t place, char16_t unit)
{
    return unit < groupTables[place].size() ? groupTables[place][unit] : stray;
}

/// How far a conversion has come. It goes by value: a byte that is written may be one of a pointer that is
/// known by its address, which is then read anew for each vector.
template <typename Character>
struct Progress {
    const Character* input;
    char* output;
};

void writeOctets(char*& output, std::uint32_t bits, int count = 3)
{
    for (int shift = 16; count > 0; --count, shift -= 8)
        *output++ = static_cast<char>(bits >> shift);
}

/// Decodes whole groups until one has a stray character in it.
template <typename Character>
Progress<Character> decodeGroups(const Character* input, const Character* end, char* output)
{
    for (; end - input >= 4; input += 4) {
        const std::uint32_t bits =
            groupBits(0, input[0]) | groupBits(1, input[1]) | groupBits(2, input[2]) | groupBits(3, input[3]);
        if (bits & stray)
            break;
        writeOctets(output, bits);
    }
    return {input, output};
}

/// The two characters of each 12 bits.
constexpr std::array<std::array<char, 2>, 4096> makePairs()
{
    std::array<std::array<char, 2>, 4096> pairs{};
    for (std::size_t bits = 0; bits < pairs.size(); ++bits)
        pairs[bits] = {alphabet[bits >> 6], alphabet[bits & 63]};
    return pairs;
}

constexpr std::array<std::array<char, 2>, 4096> pairs = makePairs();

/// Encodes all of the bytes, the last group with padding.
char* encodeGroups(const char* input, const char* end, char* output)
{
    const auto octet = [&input](std::ptrdiff_t index) { return static_cast<unsigned char>(input[index]); };
    for (; end - input >= 3; input += 3) {
        const auto bits = static_cast<std::uint32_t>(octet(0) << 16 | octet(1) << 8 | octet(2));
        std::memcpy(output, pairs[bits >> 12].data(), 2);
        std::memcpy(output + 2, pairs[bits & 0xFFF].data(), 2);
        output += 4;
    }
    if (input == end)
        return output;
    const bool areTwo = end - input == 2;
    const auto bits = static_cast<std::uint32_t>(octet(0) << 16 | (areTwo ? octet(1) << 8 : 0));
    std::memcpy(output, pairs[bits >> 12].data(), 2);
    output[2] = areTwo ? alphabet[bits >> 6 & 63] : '=';
    output[3] = '=';
    return output + 4;
}

// --- Vectors

/// What takes as much off the input as it can, and leaves the rest.
struct Vectors {
    Progress<char> (*decode)(const char* input, const char* end, char* output);
    Progress<char16_t> (*decodeUnits)(const char16_t* input, const char16_t* end, char* output);
    Progress<char> (*encodeLines)(const char* input, const char* end, char* output);
};

#if defined(__x86_64__)

constexpr qsizetype charactersOfABlock = 32;
constexpr qsizetype octetsOfABlock = 24;

/// Decodes 32 characters of the alphabet, or nothing: false. Writes 32 bytes, of which 24 count.
///
/// A character's class is known by its two halves: of one that isn't in the alphabet, the bits of both meet.
/// What is added to a character to get its value depends on the upper half, and on whether it is "/".
[[gnu::target("avx2")]] inline bool decodeBlock(__m256i text, char* output)
{
    const __m256i lowerClasses = _mm256_setr_epi8(
        0x15, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x13, 0x1A, 0x1B, 0x1B, 0x1B, 0x1A, //
        0x15, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x13, 0x1A, 0x1B, 0x1B, 0x1B, 0x1A);
    const __m256i upperClasses = _mm256_setr_epi8(
        0x10, 0x10, 0x01, 0x02, 0x04, 0x08, 0x04, 0x08, 0x10, 0x10, 0x10, 0x10, 0x10, 0x10, 0x10, 0x10, //
        0x10, 0x10, 0x01, 0x02, 0x04, 0x08, 0x04, 0x08, 0x10, 0x10, 0x10, 0x10, 0x10, 0x10, 0x10, 0x10);
    const __m256i offsets = _mm256_setr_epi8(                     //
        0, 16, 19, 4, -65, -65, -71, -71, 0, 0, 0, 0, 0, 0, 0, 0, //
        0, 16, 19, 4, -65, -65, -71, -71, 0, 0, 0, 0, 0, 0, 0, 0);
    const __m256i order = _mm256_setr_epi8(                     //
        2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, -1, -1, -1, -1, //
        2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, -1, -1, -1, -1);
    const __m256i halves = _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 7, 7);
    const __m256i lowerHalf = _mm256_set1_epi8(0x0F);
    const __m256i upper = _mm256_and_si256(_mm256_srli_epi32(text, 4), lowerHalf);
    const __m256i lower = _mm256_and_si256(text, lowerHalf);
    if (!_mm256_testz_si256(_mm256_shuffle_epi8(lowerClasses, lower),
                            _mm256_shuffle_epi8(upperClasses, upper)))
        return false;
    const __m256i isSlash = _mm256_cmpeq_epi8(text, _mm256_set1_epi8('/'));
    const __m256i values =
        _mm256_add_epi8(text, _mm256_shuffle_epi8(offsets, _mm256_add_epi8(isSlash, upper)));
    // Four values of six bits make one of 24.
    const __m256i twelves = _mm256_maddubs_epi16(values, _mm256_set1_epi32(0x01400140));
    const __m256i groups = _mm256_madd_epi16(twelves, _mm256_set1_epi32(0x00011000));
    const __m256i octets = _mm256_permutevar8x32_epi32(_mm256_shuffle_epi8(groups, order), halves);
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(output), octets);
    return true;
}

[[gnu::target("avx2")]] inline __m256i loadBlock(const char* input)
{
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(input));
}

/// Units beyond Latin-1 become NUL or FF, which aren't in the alphabet either.
[[gnu::target("avx2")]] inline __m256i loadBlock(const char16_t* input)
{
    const __m256i first = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(input));
    const __m256i second =
        _mm256_loadu_si256(reinterpret_cast<const __m256i*>(input + charactersOfABlock / 2));
    return _mm256_permute4x64_epi64(_mm256_packus_epi16(first, second), 0b11'01'10'00);
}

template <typename Character>
[[gnu::target("avx2")]] inline Progress<Character> decodeBlocks(const Character* input, const Character* end,
                                                                char* output)
{
    for (; end - input >= charactersOfABlock && decodeBlock(loadBlock(input), output);
         input += charactersOfABlock, output += octetsOfABlock) {
    }
    return {input, output};
}

[[gnu::target("avx2")]] Progress<char16_t> decodeUnitVectors(const char16_t* input, const char16_t* end,
                                                             char* output)
{
    return decodeBlocks(input, end, output);
}

/// A line of 76 characters is three blocks, the last of which covers a part of the one before. Eight times as
/// fast as the plain groups.
[[gnu::target("avx2")]] Progress<char> decodeVectors(const char* input, const char* end, char* output)
{
    constexpr qsizetype last = lineLength - charactersOfABlock;
    while (end - input >= lineLength + 2 && input[lineLength] == '\r' && input[lineLength + 1] == '\n') {
        if (!decodeBlock(loadBlock(input), output) ||
            !decodeBlock(loadBlock(input + charactersOfABlock), output + octetsOfABlock) ||
            !decodeBlock(loadBlock(input + last), output + last / 4 * 3))
            return {input, output};
        input += lineLength + 2;
        output += octetsOfALine;
    }
    return decodeBlocks(input, end, output);
}

/// Encodes 24 octets. Reads 28 bytes and writes 32.
[[gnu::target("avx2")]] inline void encodeBlock(const char* input, char* output)
{
    const __m256i order = _mm256_setr_epi8(                //
        1, 0, 2, 1, 4, 3, 5, 4, 7, 6, 8, 7, 10, 9, 11, 10, //
        1, 0, 2, 1, 4, 3, 5, 4, 7, 6, 8, 7, 10, 9, 11, 10);
    // By a value's range: "A" to "Z", "a" to "z", "0" to "9", "+", "/".
    const __m256i offsets = _mm256_setr_epi8(                           //
        65, 71, -4, -4, -4, -4, -4, -4, -4, -4, -4, -4, -19, -16, 0, 0, //
        65, 71, -4, -4, -4, -4, -4, -4, -4, -4, -4, -4, -19, -16, 0, 0);
    const __m128i first = _mm_loadu_si128(reinterpret_cast<const __m128i*>(input));
    const __m128i second = _mm_loadu_si128(reinterpret_cast<const __m128i*>(input + 12));
    const __m256i octets = _mm256_shuffle_epi8(_mm256_set_m128i(second, first), order);
    // Each of the four values goes to the bottom of its byte, two by two.
    const __m256i odd = _mm256_mulhi_epu16(_mm256_and_si256(octets, _mm256_set1_epi32(0x0FC0FC00)),
                                           _mm256_set1_epi32(0x04000040));
    const __m256i even = _mm256_mullo_epi16(_mm256_and_si256(octets, _mm256_set1_epi32(0x003F03F0)),
                                            _mm256_set1_epi32(0x01000010));
    const __m256i values = _mm256_or_si256(odd, even);
    const __m256i isBehindZ = _mm256_cmpgt_epi8(values, _mm256_set1_epi8(25));
    const __m256i range = _mm256_sub_epi8(_mm256_subs_epu8(values, _mm256_set1_epi8(51)), isBehindZ);
    const __m256i text = _mm256_add_epi8(_mm256_shuffle_epi8(offsets, range), values);
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(output), text);
}

/// Lines that another one follows, as above; each with its line end.
[[gnu::target("avx2")]] Progress<char> encodeLineVectors(const char* input, const char* end, char* output)
{
    constexpr qsizetype last = octetsOfALine - octetsOfABlock;
    // What the last block of a line reads is in the next one.
    constexpr qsizetype readable = last + 28;
    for (; end - input > readable; input += octetsOfALine, output += lineLength + 2) {
        encodeBlock(input, output);
        encodeBlock(input + octetsOfABlock, output + charactersOfABlock);
        encodeBlock(input + last, output + last / 3 * 4);
        output[lineLength] = '\r';
        output[lineLength + 1] = '\n';
    }
    return {input, output};
}

#endif

template <typename Character>
Progress<Character> leaveAll(const Character* input, const Character*, char* output)
{
    return {input, output};
}

Vectors vectors(Path path)
{
#if defined(__x86_64__)
    if (path == Path::fastest && __builtin_cpu_supports("avx2"))
        return {decodeVectors, decodeUnitVectors, encodeLineVectors};
#else
    Q_UNUSED(path)
#endif
    return {leaveAll<char>, leaveAll<char16_t>, leaveAll<char>};
}

/// Decodes the text into `start`; how many bytes count of it.
qsizetype decodeInto(char* const start, QByteArrayView text, Path path)
{
    const Vectors fast = vectors(path);
    char* output = start;
    const char* input = text.data();
    const char* const end = input + text.size();
    std::uint32_t bits = 0;
    std::size_t digits = 0;
    while (input != end) {
        if (digits == 0) {
            const Progress<char> blocks = fast.decode(input, end, output);
            const Progress<char> groups = decodeGroups(blocks.input, end, blocks.output);
            input = groups.input;
            output = groups.output;
        }
        // A group with a stray character in it, as at the end of a line.
        for (bool isPassed = false; input != end && !(isPassed && digits == 0);) {
            const std::uint32_t value = groupBits(digits, *input++);
            if (value & stray) {
                isPassed = input == end || !(groupBits(0, *input) & stray);
                continue;
            }
            bits |= value;
            if (++digits < 4)
                continue;
            writeOctets(output, bits);
            bits = 0;
            digits = 0;
        }
    }
    if (digits == 1)
        return 0;
    if (digits > 1)
        writeOctets(output, bits, static_cast<int>(digits) - 1);
    return output - start;
}

} // namespace

QByteArray decode(QByteArrayView text, Path path)
{
    QByteArray result(roomFor(text.size()), Qt::Uninitialized);
    result.truncate(decodeInto(result.data(), text, path));
    if (result.size() < result.capacity() / 2)
        result.squeeze();
    return result;
}

Run decodeRun(char* const start, QStringView text, Path path)
{
    const char16_t* const end = text.utf16() + text.size();
    const Progress<char16_t> blocks = vectors(path).decodeUnits(text.utf16(), end, start);
    auto [input, output] = decodeGroups(blocks.input, end, blocks.output);
    std::uint32_t bits = 0;
    std::size_t digits = 0;
    for (; input != end && !(groupBits(digits, *input) & stray); ++input)
        bits |= groupBits(digits++, *input);
    if (digits > 1)
        writeOctets(output, bits, static_cast<int>(digits) - 1);
    return {input - text.utf16(), digits == 1 ? 0 : output - start};
}

QByteArray encodeLines(QByteArrayView bytes, Path path)
{
    const Vectors fast = vectors(path);
    const qsizetype lines = (bytes.size() + octetsOfALine - 1) / octetsOfALine;
    const qsizetype characters = (bytes.size() + 2) / 3 * 4;
    QByteArray result(characters + 2 * std::max<qsizetype>(lines - 1, 0), Qt::Uninitialized);
    const char* const end = bytes.data() + bytes.size();
    auto [input, output] = fast.encodeLines(bytes.data(), end, result.data());
    while (input != end) {
        const char* const lineEnd = input + std::min<qsizetype>(octetsOfALine, end - input);
        output = encodeGroups(input, lineEnd, output);
        input = lineEnd;
        if (input != end) {
            *output++ = '\r';
            *output++ = '\n';
        }
    }
    return result;
}

} // namespace Larkhaven::Base64
