// Entry points of the vector tiers for the four-rows-per-pass kernels: the
// sums of squared differences of many rows, each row pairing an observation
// with a model. One side is usually shared: a block of frames against one
// Gaussian (shared model), or one observation against many Gaussians
// (shared source). The shared operand is loaded once for four rows.
//
// Float kernels return each row's accumulator, with the order of summation
// that the single-observation sums fix, started from the caller's value:
//
//  - float and double rows ("aligned"): init - terms, where the terms before
//    the next 16-byte boundary of the row's var (its mean when there is no
//    var) are subtracted one by one, then rounds of 8 elements run in 8
//    lanes that are folded as the single-observation sums fold them, the
//    fold is subtracted, and the rest is subtracted one by one; rows too
//    short for a round, or with a var not aligned to its element, subtract
//    every term one by one;
//  - 16-bit rows converted to float ("runs"): init + terms, with the same
//    rounds from the first element and no prologue.
//
// Every tier gives bit-identical accumulators. The 16-bit integer kernel
// returns the exact sum (wrapping in 64 bits), whose order is free.
//
// logAddInto folds a row of scores into a row of running values by the
// shared polynomial pair step (scoring/logadd.h), several lanes at a time,
// bit for bit as the scalar step.
#pragma once

#include <stdint.h>

namespace vsp {

template <class In, class Acc>
struct RowBatch {
  const In* const* src;   // one pointer per row, or one shared (sharedSrc)
  const In* const* mean;  // one pointer per row, or one shared (sharedModel)
  const In* const* var;   // likewise; null for unit variances
  const Acc* init;        // per row: the accumulator's start (float kernels)
  Acc* out;               // per row
  int32_t rows;
  int32_t width;
  bool sharedSrc;
  bool sharedModel;
};

#define VSP_GAUSS_ROWS_DECLS                                  \
  void rowSums(const RowBatch<float, float>& b);              \
  void rowSums(const RowBatch<double, double>& b);            \
  void rowSums(const RowBatch<int16_t, float>& b);            \
  void rowSums(const RowBatch<int16_t, int64_t>& b);          \
  void logAddInto(float* dst, const float* score, int32_t n); \
  void logAddInto(double* dst, const double* score, int32_t n);

namespace sse2 {
VSP_GAUSS_ROWS_DECLS
}
namespace avx2 {
VSP_GAUSS_ROWS_DECLS
}
namespace avx512 {
VSP_GAUSS_ROWS_DECLS
}

#undef VSP_GAUSS_ROWS_DECLS

}  // namespace vsp
