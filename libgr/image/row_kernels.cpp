#include "libgr/image/row_kernels.h"

#include "libgr/image/normal.h"

#if defined(__x86_64__)
#include <immintrin.h>
#endif

namespace libgr::row_kernels {

namespace {

using byte = unsigned char;
using std::size_t;

void plain_grey(byte* to, const byte* rgb, size_t pixels) {
    for (size_t x = 0; x < pixels; ++x, rgb += 3)
        to[x] = byte(float(rgb[0]) * 0.299f + float(rgb[1]) * 0.587f + float(rgb[2]) * 0.114f);
}

void plain_halve_luminance(byte* to, const byte* a, const byte* b, size_t pixels) {
    for (size_t x = 0; x < pixels; ++x)
        to[x] = byte((a[x] + a[x + 1] + b[x] + b[x + 1]) >> 2);
}

template <size_t Channels, size_t Source, size_t Second>
void plain_halve(byte* to, const byte* a, const byte* b, size_t pixels) {
    for (size_t x = 0; x < pixels; ++x, to += Channels, a += Source, b += Source)
        for (size_t c = 0; c < Channels; ++c)
            to[c] = byte((a[c] + a[Second + c] + b[c] + b[Second + c]) >> 2);
}

constexpr auto plain_halve_3 = plain_halve<3, 6, 3>;
constexpr auto plain_halve_4 = plain_halve<4, 8, 3>;

void normals_from(size_t x, byte* to, const byte* here, const byte* above, size_t pixels) {
    for (to += 3 * x; x < pixels; ++x, to += 3) {
        const normal n = normal_of_heights(here[x], here[x + 1 < pixels ? x + 1 : 0], above[x]);
        to[0] = byte(n.x);
        to[1] = byte(n.y);
        to[2] = byte(n.z);
    }
}

void plain_normals(byte* to, const byte* here, const byte* above, size_t pixels) {
    normals_from(0, to, here, above, pixels);
}

#if defined(__x86_64__)
#define USES_AVX2 __attribute__((target("avx2")))

USES_AVX2 inline __m256i load(const byte* from) {
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(from));
}

// 16 bytes from each of two places.
USES_AVX2 inline __m256i load(const byte* low, const byte* high) {
    return _mm256_inserti128_si256(
        _mm256_castsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i*>(low))),
        _mm_loadu_si128(reinterpret_cast<const __m128i*>(high)), 1);
}

USES_AVX2 inline void store(byte* to, __m256i v) {
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(to), v);
}

// The greys of 8 pixels as 32-bit numbers; reads 28 bytes. The three products are added in the order of the
// plain loop, so that every rounding is the same.
USES_AVX2 inline __m256i grey_of_8(const byte* rgb) {
    const __m256i apart = _mm256_setr_epi8(0, 1, 2, -1, 3, 4, 5, -1, 6, 7, 8, -1, 9, 10, 11, -1, //
                                           0, 1, 2, -1, 3, 4, 5, -1, 6, 7, 8, -1, 9, 10, 11, -1);
    const __m256i low_byte = _mm256_set1_epi32(255);
    const __m256i v = _mm256_shuffle_epi8(load(rgb, rgb + 12), apart);
    const __m256 red = _mm256_cvtepi32_ps(_mm256_and_si256(v, low_byte));
    const __m256 green = _mm256_cvtepi32_ps(_mm256_and_si256(_mm256_srli_epi32(v, 8), low_byte));
    const __m256 blue = _mm256_cvtepi32_ps(_mm256_srli_epi32(v, 16));
    return _mm256_cvttps_epi32(_mm256_add_ps(_mm256_add_ps(_mm256_mul_ps(red, _mm256_set1_ps(0.299f)),
                                                           _mm256_mul_ps(green, _mm256_set1_ps(0.587f))),
                                             _mm256_mul_ps(blue, _mm256_set1_ps(0.114f))));
}

USES_AVX2 void avx2_grey(byte* to, const byte* rgb, size_t pixels) {
    const __m256i in_order = _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7);
    size_t x = 0;
    for (; x + 34 <= pixels; x += 32) { // 100 bytes are read for 32 pixels
        const byte* p = rgb + 3 * x;
        const __m256i low = _mm256_packs_epi32(grey_of_8(p), grey_of_8(p + 24));
        const __m256i high = _mm256_packs_epi32(grey_of_8(p + 48), grey_of_8(p + 72));
        store(to + x, _mm256_permutevar8x32_epi32(_mm256_packus_epi16(low, high), in_order));
    }
    plain_grey(to + x, rgb + 3 * x, pixels - x);
}

// Truncated mean of four bytes without widening: the rounded-down means of the pairs and what they lost.
USES_AVX2 inline __m256i mean_of_4(__m256i a, __m256i b, __m256i c, __m256i d) {
    const __m256i one = _mm256_set1_epi8(1);
    const __m256i lost_ab = _mm256_and_si256(_mm256_xor_si256(a, b), one);
    const __m256i lost_cd = _mm256_and_si256(_mm256_xor_si256(c, d), one);
    const __m256i ab = _mm256_sub_epi8(_mm256_avg_epu8(a, b), lost_ab);
    const __m256i cd = _mm256_sub_epi8(_mm256_avg_epu8(c, d), lost_cd);
    const __m256i odd = _mm256_and_si256(_mm256_xor_si256(ab, cd), one);
    // An odd sum is rounded up by the mean; that is right only when two lost halves make a whole.
    const __m256i too_high = _mm256_andnot_si256(_mm256_and_si256(lost_ab, lost_cd), odd);
    return _mm256_sub_epi8(_mm256_avg_epu8(ab, cd), too_high);
}

USES_AVX2 void avx2_halve_luminance(byte* to, const byte* a, const byte* b, size_t pixels) {
    size_t x = 0;
    for (; x + 32 <= pixels; x += 32)
        store(to + x, mean_of_4(load(a + x), load(a + x + 1), load(b + x), load(b + x + 1)));
    plain_halve_luminance(to + x, a + x, b + x, pixels - x);
}

// Of two rows: the pairs that `pairs` brings together, added, both rows together, a quarter of it.
USES_AVX2 inline __m256i mean_of_pairs(__m256i a, __m256i b, __m256i pairs) {
    const __m256i one = _mm256_set1_epi8(1);
    const __m256i sum = _mm256_add_epi16(_mm256_maddubs_epi16(_mm256_shuffle_epi8(a, pairs), one),
                                         _mm256_maddubs_epi16(_mm256_shuffle_epi8(b, pairs), one));
    return _mm256_srli_epi16(sum, 2);
}

USES_AVX2 void avx2_halve_3(byte* to, const byte* a, const byte* b, size_t pixels) {
    const __m256i pairs = _mm256_setr_epi8(0, 3, 1, 4, 2, 5, 6, 9, 7, 10, 8, 11, -1, -1, -1, -1, //
                                           0, 3, 1, 4, 2, 5, 6, 9, 7, 10, 8, 11, -1, -1, -1, -1);
    const __m256i close = _mm256_setr_epi8(0, 1, 2, 3, 4, 5, 8, 9, 10, 11, 12, 13, -1, -1, -1, -1, //
                                           0, 1, 2, 3, 4, 5, 8, 9, 10, 11, 12, 13, -1, -1, -1, -1);
    const __m256i in_order = _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 3, 7);
    size_t x = 0;
    for (; x + 11 <= pixels; x += 8) { // 32 bytes are written for 8 pixels, 52 read for 48
        const byte *p = a + 6 * x, *q = b + 6 * x;
        const __m256i first = mean_of_pairs(load(p, p + 24), load(q, q + 24), pairs);
        const __m256i second = mean_of_pairs(load(p + 12, p + 36), load(q + 12, q + 36), pairs);
        const __m256i bytes = _mm256_shuffle_epi8(_mm256_packus_epi16(first, second), close);
        store(to + 3 * x, _mm256_permutevar8x32_epi32(bytes, in_order));
    }
    plain_halve_3(to + 3 * x, a + 6 * x, b + 6 * x, pixels - x);
}

USES_AVX2 void avx2_halve_4(byte* to, const byte* a, const byte* b, size_t pixels) {
    const __m256i pairs = _mm256_setr_epi8(0, 3, 1, 4, 2, 5, 3, 6, 8, 11, 9, 12, 10, 13, 11, 14, //
                                           0, 3, 1, 4, 2, 5, 3, 6, 8, 11, 9, 12, 10, 13, 11, 14);
    size_t x = 0;
    for (; x + 8 <= pixels; x += 8) {
        const byte *p = a + 8 * x, *q = b + 8 * x;
        const __m256i first = mean_of_pairs(load(p), load(q), pairs);
        const __m256i second = mean_of_pairs(load(p + 32), load(q + 32), pairs);
        store(to + 4 * x, _mm256_permute4x64_epi64(_mm256_packus_epi16(first, second), 0xD8));
    }
    plain_halve_4(to + 4 * x, a + 8 * x, b + 8 * x, pixels - x);
}

USES_AVX2 inline __m256 heights_of_8(const byte* samples) {
    const __m128i bytes = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(samples));
    return _mm256_mul_ps(_mm256_cvtepi32_ps(_mm256_cvtepu8_epi32(bytes)), _mm256_set1_ps(height_of(1)));
}

USES_AVX2 inline __m256 other_side(__m256 sine) {
    return _mm256_sqrt_ps(_mm256_sub_ps(_mm256_set1_ps(1.0f), _mm256_mul_ps(sine, sine)));
}

// 127 times the component, halves rounded away from zero.
USES_AVX2 inline __m256i rounded(__m256 component) {
    const __m256 scaled = _mm256_mul_ps(_mm256_set1_ps(127.0f), component);
    const __m256 sign = _mm256_and_ps(scaled, _mm256_set1_ps(-0.0f));
    return _mm256_cvttps_epi32(_mm256_add_ps(scaled, _mm256_or_ps(sign, _mm256_set1_ps(0.5f))));
}

// Every operation of the formula, each rounded as there, on 8 pixels. The vector never has length 0: the
// third component is 0 only where both others are 1.
USES_AVX2 void avx2_normals(byte* to, const byte* here, const byte* above, size_t pixels) {
    const __m256i close = _mm256_setr_epi8(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, -1, -1, -1, -1, //
                                           0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, -1, -1, -1, -1);
    const __m256i in_order = _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 3, 7);
    const __m256i low_byte = _mm256_set1_epi32(255);
    size_t x = 0;
    for (; x + 11 <= pixels; x += 8) { // 32 bytes are written for 8 pixels
        const __m256 h = heights_of_8(here + x);
        const __m256 right = _mm256_sub_ps(heights_of_8(here + x + 1), h);
        const __m256 up = _mm256_sub_ps(heights_of_8(above + x), h);
        const __m256 z = _mm256_add_ps(other_side(right), other_side(up));
        const __m256 square = _mm256_add_ps(_mm256_add_ps(_mm256_mul_ps(right, right), _mm256_mul_ps(up, up)),
                                            _mm256_mul_ps(z, z));
        const __m256 scale = _mm256_div_ps(_mm256_set1_ps(1.0f), _mm256_sqrt_ps(square));
        const __m256i nx = _mm256_and_si256(rounded(_mm256_mul_ps(right, scale)), low_byte);
        const __m256i ny = _mm256_and_si256(rounded(_mm256_mul_ps(up, scale)), low_byte);
        const __m256i nz = rounded(_mm256_mul_ps(z, scale));
        const __m256i pixel =
            _mm256_or_si256(_mm256_or_si256(nx, _mm256_slli_epi32(ny, 8)), _mm256_slli_epi32(nz, 16));
        store(to + 3 * x, _mm256_permutevar8x32_epi32(_mm256_shuffle_epi8(pixel, close), in_order));
    }
    normals_from(x, to, here, above, pixels);
}

constexpr set avx2 = {avx2_grey, avx2_halve_luminance, avx2_halve_3, avx2_halve_4, avx2_normals};
#endif

} // namespace

constexpr set plain = {plain_grey, plain_halve_luminance, plain_halve_3, plain_halve_4, plain_normals};

const set& best() {
#if defined(__x86_64__)
    static const bool has_avx2 = __builtin_cpu_supports("avx2") != 0;
    if (has_avx2) return avx2;
#endif
    return plain;
}

} // namespace libgr::row_kernels
