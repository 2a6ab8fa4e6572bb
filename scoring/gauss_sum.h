// Sums of squared differences: the arithmetic under every Gaussian score and
// weighted distance. Each term is (d * d) * var with d = src - mean; a null
// var means unit weights. The float orders of summation are fixed:
//
//  - "aligned" sums (the plain single and double precision members) add the
//    elements up to the next 16-byte boundary of the weights one by one, then
//    rounds of 8 elements into 8 lanes, fold the lanes, and add the rest one
//    by one; without element alignment, or when fewer than prologue + 8
//    elements exist, every element is added one by one;
//  - "runs" sums (widening and 16-bit-to-float members) do the same with no
//    prologue.
//
// Single-precision lanes fold as two sets of four, added, then
// (c0 + c2) + (c1 + c3); double lanes as four sets of two, added pairwise,
// then lane 0 + lane 1. Integer sums are exact in 64 bits (wrapping), so
// their order is free.
#pragma once

#include "frame/base.h"
#include "frame/cpu.h"

VSP_NS_BEGIN

float sumSqAligned32f(Tier tier, const float* src, const float* mean, const float* var, int32_t n);
double sumSqAligned64f(Tier tier, const double* src, const double* mean, const double* var,
                       int32_t n);
double sumSqRuns32f64f(Tier tier, const float* src, const float* mean, const float* var, int32_t n);
float sumSqRuns16s32f(Tier tier, const int16_t* src, const int16_t* mean, const int16_t* var,
                      int32_t n);
int64_t sumSq16s(Tier tier, const int16_t* src, const int16_t* mean, const int16_t* var, int32_t n);

// The sum of each input / accumulator pairing, as the single-observation
// members take it (and the families that call them per row).
template <class Acc, class In>
Acc sumSqOf(Tier tier, const In* s, const In* m, const In* v, int32_t n);
template <>
inline float sumSqOf<float, float>(Tier t, const float* s, const float* m, const float* v,
                                   int32_t n) {
  return sumSqAligned32f(t, s, m, v, n);
}
template <>
inline double sumSqOf<double, float>(Tier t, const float* s, const float* m, const float* v,
                                     int32_t n) {
  return sumSqRuns32f64f(t, s, m, v, n);
}
template <>
inline double sumSqOf<double, double>(Tier t, const double* s, const double* m, const double* v,
                                      int32_t n) {
  return sumSqAligned64f(t, s, m, v, n);
}
template <>
inline float sumSqOf<float, int16_t>(Tier t, const int16_t* s, const int16_t* m, const int16_t* v,
                                     int32_t n) {
  return sumSqRuns16s32f(t, s, m, v, n);
}
template <>
inline int64_t sumSqOf<int64_t, int16_t>(Tier t, const int16_t* s, const int16_t* m,
                                         const int16_t* v, int32_t n) {
  return sumSq16s(t, s, m, v, n);
}

// The two lane folds written out on eight lane sums, for scalar code that
// must agree with the vector tiers bit for bit, and for the block kernels
// (which fold four rows at once, one per lane of T).
template <class T>
VSP_ALWAYS_INLINE T foldLanes32(const T* a) {
  const T c0 = a[0] + a[4], c1 = a[1] + a[5], c2 = a[2] + a[6], c3 = a[3] + a[7];
  return (c0 + c2) + (c1 + c3);
}
template <class T>
VSP_ALWAYS_INLINE T foldLanes64(const T* a) {
  const T l0 = (a[0] + a[2]) + (a[4] + a[6]);
  const T l1 = (a[1] + a[3]) + (a[5] + a[7]);
  return l0 + l1;
}

// Elements one by one before the vector rounds: the distance of p to the next
// 16-byte boundary, in elements, or -1 when p is not aligned to its element.
template <class T>
VSP_ALWAYS_INLINE int32_t prologueTo16(const T* p) {
  const uintptr_t a = reinterpret_cast<uintptr_t>(p);
  if (a % sizeof(T) != 0) return -1;
  return int32_t(((16 - (a & 15)) & 15) / sizeof(T));
}

VSP_NS_END
