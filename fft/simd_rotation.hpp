// The rotation of the general odd-radix passes for few values a slot: V output
// slots at a time, each lane with its own recurrence.
#pragma once

#include "fft/rotation.hpp"
#include "fft/simd_vectors.hpp"

namespace zavo::fft {

namespace { // compiled for several instruction sets: see shape.hpp

// Registers in flight: a recurrence alone would wait for its own results.
constexpr int rotation_registers = 4;

// The rotations by w, 2 w, 3 w ..., as the recurrence has them.
struct RotationRun {
    Rotation<float> at{1.0F, 0.0F};
    CosSin w;

    template <int V>
    ZAVO_INLINE void next(Rotation<Vector<V>>* lanes)
    {
        float re[V * rotation_registers], im[V * rotation_registers];
        for (int t = 0; t < V * rotation_registers; ++t) {
            at.advance(w.cos, w.sin);
            re[t] = at.re;
            im[t] = at.im;
        }
        for (int r = 0; r < rotation_registers; ++r) {
            lanes[r].re = load<V>(re + V * r);
            lanes[r].im = load<V>(im + V * r);
        }
    }
};

// The output slots l .. of one value: cosines[...] and sines[...] of a run.
template <int V>
ZAVO_INLINE void rotate_run(Index slab, Index ip, const Rotation<Vector<V>>* by_l, const float* x,
                            Vector<V>* cosines, Vector<V>* sines)
{
    Rotation<Vector<V>> by_lj[rotation_registers];
    for (int r = 0; r < rotation_registers; ++r) {
        by_lj[r] = by_l[r];
        cosines[r] = x[0] + by_l[r].re * x[slab];
        sines[r] = by_l[r].im * x[slab * (ip - 1)];
    }
    for (Index j = 2; j < (ip + 1) / 2; ++j) {
        const float xj = x[slab * j];
        const float xc = x[slab * (ip - j)];
        for (int r = 0; r < rotation_registers; ++r) {
            by_lj[r].advance(by_l[r].re, by_l[r].im);
            cosines[r] = cosines[r] + by_lj[r].re * xj;
            sines[r] = sines[r] + by_lj[r].im * xc;
        }
    }
}

// ScalarLanes with the sums of the general real pass taken V slots at a time.
template <int V>
struct WideScalarLanes : ScalarLanes {
    static void rotate_real_sums(Index slab, Index ip, CosSin w, const float* x, float* y)
    {
        constexpr Index run = V * rotation_registers;
        const Index half = (ip - 1) / 2;
        RotationRun rotations{{1.0F, 0.0F}, w};
        for (Index l = 1; l <= half; l += run) {
            Rotation<Vector<V>> by_l[rotation_registers];
            rotations.next<V>(by_l);
            const Index count = half + 1 - l < run ? half + 1 - l : run;
            for (Index i = 0; i < slab; ++i) {
                Vector<V> cosines[rotation_registers], sines[rotation_registers];
                rotate_run<V>(slab, ip, by_l, x + i, cosines, sines);
                for (Index t = 0; t < count; ++t) {
                    y[i + slab * (l + t)] = cosines[t / V][t % V];
                    y[i + slab * (ip - l - t)] = sines[t / V][t % V];
                }
            }
        }
    }
};

} // namespace

} // namespace zavo::fft
