// Discrete Fourier transforms of every length within one bound of error, with
// their tables kept from call to call.
//
// The relative error of a transform of n values in the Euclidean norm stays below
// error_bound * log2 n. Lengths whose prime factors are at most 13 go through the
// library's own passes and have their bits. A pass of a larger prime sums that
// many terms by rotations in single precision and would lose digits, so other
// lengths become a convolution with a chirp:
//     jk = (j^2 + k^2 - (k - j)^2) / 2,
// which transforms of a smooth length do (L. I. Bluestein, "A linear filtering
// approach to the computation of discrete Fourier transform", 1970).
#pragma once

#include "zavox/buffer.hpp"

#include <cstdint>

namespace zavox {

inline constexpr double error_bound = 4e-7;

enum class Sign { minus, plus }; // of the exponent

// True when every prime factor of n >= 1 is at most 13.
bool is_smooth(int n);

// The least m >= n made of 2, 3 and 5; 0 when an int does not hold it.
int smooth_size(int n);

// A length of at least n whose transforms are fast: a power of 2, by itself or
// times 3, 5, 9 or 15; 0 when an int does not hold it.
int fast_size(std::int64_t n);

// Not for use by two threads at a time: the tables hold scratch.
class Fourier {
public:
    Fourier() = default;
    ~Fourier() { release(); }
    Fourier(const Fourier&) = delete;
    Fourier& operator=(const Fourier&) = delete;

    // All return false, with nothing to use in the result, when memory is short or
    // the command was interrupted.
    // n >= 1. None divides by n.

    // Packed spectrum (fft/real_fft.h) of n reals; q may be p.
    [[nodiscard]] bool real_forward(int n, const float* p, float* q);
    // n reals of a packed spectrum; q may be p.
    [[nodiscard]] bool real_backward(int n, const float* p, float* q);
    // n complex values; q may be p.
    [[nodiscard]] bool complex(Sign sign, int n, const f_complex* p, f_complex* q);
    // Along rows, then columns, of rows x columns values.
    [[nodiscard]] bool plane(Sign sign, int rows, int columns, const f_complex* p, f_complex* q);

    // Gives back the tables.
    void release();

private:
    struct Table {
        int n = 0;
        float* values = nullptr;
        unsigned used = 0; // when, for the choice of the one that makes room
    };
    struct Chirp {
        int n = 0;
        int m = 0;                     // length of the convolution
        double* factors = nullptr;     // n pairs (cos, sin) of pi k^2 / n
        f_complex* spectrum = nullptr; // m values: of the conjugate chirp, divided by m
        f_complex* work = nullptr;     // m values
        unsigned used = 0;
    };
    static constexpr int kept = 4;

    bool table(Table (&tables)[kept], float* (*build)(int), int n, float** values);
    const Chirp* chirp(int n);
    bool make_chirp(Chirp* chirp, int n);
    static void drop(Chirp* chirp);
    // Through the chirp: x(j) gives the j-th value as a complex one.
    template <class Input>
    bool through_chirp(Sign sign, int n, const Input& x, const Chirp** done);

    Table real_[kept];
    Table complex_[kept];
    Chirp chirps_[2];
    unsigned clock_ = 0;
};

} // namespace zavox
