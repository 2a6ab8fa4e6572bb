// Log-domain addition: ln(exp(a) + exp(b)) without leaving the log domain.
//
// The pair step below is the one piece of arithmetic that every log-adding
// family shares (the log-add exports, the block and mixture scorers): it
// orders the operands, floors differences past the cut-off, and otherwise
// adds a polynomial approximation of ln(1 + exp(d)) to the larger operand.
// Keeping it in one place keeps every family's rounding identical.
//
// Single-precision data (and the integer members, which work in real units)
// use the degree-9 polynomials; double precision uses degree 20. Both are
// evaluated by Horner's rule in double, and the result is formed as
// (hi + c) + (u * P(u)), in that order.
#pragma once

#include "frame/base.h"

VSP_NS_BEGIN

namespace logadd {

// ---- Polynomial coefficient sets ---------------------------------------------
//
// Three intervals of the (never positive) difference d; u is d's distance
// from its interval's right end. Each row: coefficients highest power first,
// then the interval's constant c.

struct Poly32 {
  static constexpr int kDegree = 9;
  static constexpr double kCut = -15.3195879547406;  // -ln(4.5e6)
  static constexpr double kEnd1 = -2.55;
  static constexpr double kEnd2 = -6.8;
  static constexpr double kEnds[3][1] = {{0.0}, {kEnd1}, {kEnd2}};
  static constexpr double kCoef[3][kDegree + 2] = {
      {-6.780103715801104e-07, -8.27710395983359e-06, -3.1261214564328406e-05,
       2.1955075181092877e-05, 0.0004062108907165097, 6.910012478334781e-05, -0.005163737400850404,
       1.5878560708463796e-05, 0.125002818406354, 0.5000001923981635, 0.6931471827215062},
      {-7.083237702375219e-09, -1.8491608098957698e-07, -2.094649399521823e-06,
       -1.2793327302109763e-05, -3.4842057389070787e-05, 0.00010764583059022215,
       0.0016847989052690858, 0.009582361774741538, 0.033592464138937767, 0.07242669818681209,
       0.07518323027822499},
      {6.536044962123068e-12, 3.4510675551141127e-10, 8.230386128280675e-09, 1.183290602139997e-07,
       1.157908356720776e-06, 8.25762745567427e-06, 4.458031414389642e-05, 0.00018342101716467817,
       0.0005549481290265323, 0.0011123966452324845, 0.0011131507706311817}};
};

struct Poly64 {
  static constexpr int kDegree = 20;
  static constexpr double kCut = -23.0258509299405;  // -ln(1e10)
  static constexpr double kEnd1 = -3.5;
  static constexpr double kEnd2 = -9.0;
  static constexpr double kEnds[3][1] = {{0.0}, {kEnd1}, {kEnd2}};
  static constexpr double kCoef[3][kDegree + 2] = {
      {2.4223551556971103e-14, 1.2811707930131747e-12,  2.979508062290527e-11,
       4.091290155130968e-10,  3.717428002038248e-09,   2.3532270503994952e-08,
       1.055613856863438e-07,  3.320992500314504e-07,   7.091358966640867e-07,
       1.0406444519836742e-06, 1.6353412792505214e-06,  3.844457955118119e-06,
       1.3867656181255913e-06, -2.5487163524155248e-05, 4.065812849423804e-07,
       0.0003473626701744988,  3.4289110129737e-08,     -0.005208327741081266,
       5.587714108476228e-10,  0.12500000002958675,     0.5000000000006226,
       0.6931471805599475},
      {1.3708407243051937e-19,  9.601624129865304e-18,  3.191870701452749e-16,
       6.702281854356589e-15,   9.973092519816427e-14,  1.1165229253200852e-12,
       9.711578249998531e-12,   6.632489267913665e-11,  3.487750749690926e-10,
       1.277933984587361e-09,   1.6292813548790022e-09, -1.909513758655842e-08,
       -1.8820558187982419e-07, -9.461042535100208e-07, -2.209235331735495e-06,
       9.625041106025868e-06,   0.00014699683220535022, 0.0009831490265710303,
       0.004464163447126563,    0.014226511939950807,   0.0293122307513593,
       0.02975041827262059},
      {1.7034225392923792e-27, 3.0781354635598557e-25, 2.6542272637469554e-23,
       1.4576061250276504e-21, 5.745038767733748e-20,  1.73794899924144e-18,
       4.217783891653166e-17,  8.4810302862868775e-16, 1.4486369363407485e-14,
       2.1432698000428128e-13, 2.7867099954008822e-12, 3.2140356172044866e-11,
       3.300948845025808e-10,  3.0140517373824124e-09, 2.4295529030919333e-08,
       1.7072955802867207e-07, 1.0263887628748916e-06, 5.137002703123242e-06,
       2.0558151089723745e-05, 6.168967511733263e-05,  0.00012339457601536868,
       0.00012340218972425103}};
};

// ---- Lane operations -------------------------------------------------------------
//
// The pair step below is written once for a plain double and for the vector
// tiers' lanes of doubles, which define the same operations for their own
// types (found by argument-dependent lookup): every lane then performs
// exactly the scalar step's arithmetic. These are the scalar forms.

VSP_ALWAYS_INLINE double splat(double, double x) { return x; }
VSP_ALWAYS_INLINE double select(bool m, double a, double b) { return m ? a : b; }
VSP_ALWAYS_INLINE bool allOf(bool m) { return m; }
VSP_ALWAYS_INLINE double negate(double x) { return -x; }
// Entry k of the row of t that the interval tests r0 (d > first end) and r1
// (d > second end) select.
template <size_t N>
VSP_ALWAYS_INLINE double pick(bool r0, bool r1, const double (&t)[3][N], int k) {
  return t[r0 ? 0 : r1 ? 1 : 2][k];
}

// ---- What a difference past the cut-off gives ---------------------------------
//
// There is no true log zero: each precision has a floor that stands for it.

// Single precision: never below -4.5e6, even if that lifts the result above
// both operands.
struct FloorMax32 {
  template <class V>
  static VSP_ALWAYS_INLINE V apply(V hi) {
    return select(hi < splat(hi, -4.5e6), splat(hi, -4.5e6), hi);
  }
};
// Double precision: anything below -9e9 becomes exactly -1e10 (which may lower
// it, for values between -1e10 and -9e9).
struct Floor64 {
  template <class V>
  static VSP_ALWAYS_INLINE V apply(V hi) {
    return select(hi < splat(hi, -9e9), splat(hi, -1e10), hi);
  }
};
// The integer log-add: the larger operand as it is.
struct NoFloor {
  template <class V>
  static VSP_ALWAYS_INLINE V apply(V hi) {
    return hi;
  }
};
// The integer log-sum keeps its running value in double but floors it
// through single precision, which also drops the value's low bits.
struct FloorThroughSingle {
  static VSP_ALWAYS_INLINE double apply(double hi) { return double(float(FloorMax32::apply(hi))); }
};

// ---- The pair step ----------------------------------------------------------------
//
// hi is b only if b > a, so a tie (and a NaN b) takes a, and d = -(hi - lo)
// is never positive. The result does not depend on the operands' order,
// beyond the sign of a zero. A NaN operand gives NaN (through the last
// interval), never the floor. Past the cut-off the polynomial is not
// evaluated at all (in every lane, for vectors).
template <class P, class Floor, class V>
VSP_ALWAYS_INLINE V pairStep(V a, V b) {
  const auto swap = b > a;
  const V hi = select(swap, b, a), lo = select(swap, a, b);
  const V d = negate(hi - lo);
  const auto cut = d < splat(d, P::kCut);
  const V floored = Floor::apply(hi);
  if (allOf(cut)) return floored;
  const auto r0 = d > splat(d, P::kEnd1), r1 = d > splat(d, P::kEnd2);
  const V u = d - pick(r0, r1, P::kEnds, 0);
  V p = pick(r0, r1, P::kCoef, 0);
  for (int k = 1; k <= P::kDegree; ++k) p = p * u + pick(r0, r1, P::kCoef, k);
  const V sum = (hi + pick(r0, r1, P::kCoef, P::kDegree + 1)) + u * p;
  return select(cut, floored, sum);
}

// Whether the step of a running value r and a new value x (in either order)
// gives r itself: x lies below r by more than the cut-off, so that r is hi
// and the step returns the floor rule's value, and the floor leaves r as it
// is (a NaN on either side never qualifies). A fold tests this before it
// steps: a run of such values then forms no new running value, and the
// chain of dependent arithmetic that each step would add to the next is
// gone, with the same bits as a result.
template <class P, class Floor>
VSP_ALWAYS_INLINE bool keepsRun(double r, double x) {
  return r - x > -P::kCut && Floor::apply(r) == r;
}

// The two steps the scoring families apply to their scores.
VSP_ALWAYS_INLINE double add32(double a, double b) { return pairStep<Poly32, FloorMax32>(a, b); }
VSP_ALWAYS_INLINE double add64(double a, double b) { return pairStep<Poly64, Floor64>(a, b); }
// The pair step as a fold into a running value r takes it: r first.
template <class P, class Floor>
VSP_ALWAYS_INLINE double foldStep(double r, double x) {
  return keepsRun<P, Floor>(r, x) ? r : pairStep<P, Floor>(r, x);
}

// ---- The table path ------------------------------------------------------------------
//
// 64 intervals of width h = -cut / 64 cover the difference. On interval k,
// d lies between -k * h and -(k - 1) * h, t = (d + k * h) / h runs from 0 to
// 1, and the value is the chord of ln(1 + exp(d)) bent by a quadratic term:
//
//   T0[k] + t * ((t - 1) * T2[k] + T1[k]),  T1[k] = T0[k - 1] - T0[k].
//
// T0[k] is ln(1 + exp(-k * h)) in single precision. T2[k] makes the parabola
// exact at the middle of its interval: 4 * (mean of the end values - the
// value at the middle), computed in 50-digit decimal arithmetic and rounded
// to single; rows 1, 2, 31, 62, 63 and 64 hold fixed curvature
// values (the fit reproduces five of them bit for bit and row 62 within one
// unit in the last place). The worst absolute error of the path is about
// 1.1e-5 (at d near -1.39), against 5e-9 for the polynomial.
//
// Row 0 is ln 2 and never used. Row 65 extends the table by one interval:
// with the integer members' strict cut-off test, d can sit exactly on -64 h
// and the row number reach 65; the extra row makes that case an ordinary
// one (its t is 1, so it returns T0[64]).
struct TableRow {
  float t0, t1, t2;
};
inline constexpr int kTableRows = 66;
inline constexpr TableRow kTable[kTableRows] = {
    {0.693147182f, 0.0f, 0.0f},
    {0.58060801f, 0.112539172f, 0.0071323663f},
    {0.482157797f, 0.0984502137f, 0.00693245465f},
    {0.397214621f, 0.0849431753f, 0.00655445084f},
    {0.32487756f, 0.0723370612f, 0.00603711791f},
    {0.264014155f, 0.0608634055f, 0.00542819407f},
    {0.213357493f, 0.0506566614f, 0.00477596f},
    {0.171597242f, 0.0417602509f, 0.00412258366f},
    {0.137454435f, 0.0341428071f, 0.00350033632f},
    {0.109735072f, 0.0277193636f, 0.00293060928f},
    {0.0873628557f, 0.022372216f, 0.00242494047f},
    {0.069394201f, 0.0179686546f, 0.00198708707f},
    {0.0550199822f, 0.0143742189f, 0.0016153492f},
    {0.0435585342f, 0.0114614479f, 0.00130465755f},
    {0.0344436318f, 0.00911490247f, 0.00104821043f},
    {0.0272101723f, 0.0072334595f, 0.000838627806f},
    {0.021479506f, 0.00573066622f, 0.000668689667f},
    {0.0169455446f, 0.00453396142f, 0.000531754515f},
    {0.0133622373f, 0.00358330738f, 0.000421956909f},
    {0.0105326679f, 0.00282956939f, 0.000334262149f},
    {0.0082997987f, 0.00223286916f, 0.000264436734f},
    {0.00653873896f, 0.00176105974f, 0.000208974758f},
    {0.00515038054f, 0.00138835842f, 0.000165006248f},
    {0.00405621203f, 0.00109416852f, 0.000130202199f},
    {0.00319412211f, 0.000862089917f, 0.00010268535f},
    {0.00251502683f, 0.000679095276f, 8.09503981e-05f},
    {0.00198016944f, 0.00053485739f, 6.37951889e-05f},
    {0.00155896868f, 0.000421200763f, 5.02626281e-05f},
    {0.00122730643f, 0.000331662246f, 3.95926509e-05f},
    {0.000966169348f, 0.000261137087f, 3.1182768e-05f},
    {0.00076057401f, 0.000205595337f, 2.45561441e-05f},
    {0.000598715036f, 0.000161858974f, 1.93358264e-05f},
    {0.000471293431f, 0.000127421605f, 1.52240955e-05f},
    {0.000370985334f, 0.000100308098f, 1.19859815e-05f},
    {0.000292023266f, 7.89620681e-05f, 9.43614759e-06f},
    {0.000229865866f, 6.21574e-05f, 7.42846987e-06f},
    {0.000180937539f, 4.89283266e-05f, 5.84777945e-06f},
    {0.000142423145f, 3.8514394e-05f, 4.60333285e-06f},
    {0.000112106485f, 3.03166598e-05f, 3.62364563e-06f},
    {8.82428358e-05f, 2.38636494e-05f, 2.85241504e-06f},
    {6.94587725e-05f, 1.87840633e-05f, 2.24530186e-06f},
    {5.46731208e-05f, 1.47856517e-05f, 1.76739172e-06f},
    {4.30348155e-05f, 1.16383053e-05f, 1.39119436e-06f},
    {3.38739228e-05f, 9.16089266e-06f, 1.09506618e-06f},
    {2.66630977e-05f, 7.21082506e-06f, 8.61967692e-07f},
    {2.09872433e-05f, 5.67585448e-06f, 6.7848481e-07f},
    {1.65196143e-05f, 4.46762897e-06f, 5.34057563e-07f},
    {1.30030203e-05f, 3.51659401e-06f, 4.20373254e-07f},
    {1.02350132e-05f, 2.76800711e-06f, 3.3088827e-07f},
    {8.0562404e-06f, 2.17877277e-06f, 2.60451628e-07f},
    {6.34127127e-06f, 1.71496913e-06f, 2.05008703e-07f},
    {4.99137514e-06f, 1.34989614e-06f, 1.61367907e-07f},
    {3.92883658e-06f, 1.06253856e-06f, 1.27016975e-07f},
    {3.09248571e-06f, 8.36350864e-07f, 9.99783936e-08f},
    {2.43417276e-06f, 6.58312956e-07f, 7.86955852e-08f},
    {1.91599815e-06f, 5.18174602e-07f, 6.19433109e-08f},
    {1.5081298e-06f, 4.07868356e-07f, 4.87571548e-08f},
    {1.18708647e-06f, 3.21043331e-07f, 3.83779906e-08f},
    {9.34385184e-07f, 2.52701284e-07f, 3.02082839e-08f},
    {7.35477784e-07f, 1.98907401e-07f, 2.3777698e-08f},
    {5.78912761e-07f, 1.56565022e-07f, 1.87160207e-08f},
    {4.55676599e-07f, 1.23236163e-07f, 1.4731846e-08f},
    {3.58674328e-07f, 9.70022711e-08f, 1.15958034e-08f},
    {2.82321452e-07f, 7.6352876e-08f, 9.1273451e-09f},
    {2.22222198e-07f, 6.00992536e-08f, 7.18435977e-09f},
    {1.74916593e-07f, 4.73056048e-08f, 5.65498759e-09f},
};

inline constexpr double kStep64 = 15.3195879547406 / 64;     // h
inline constexpr double kInvStep64 = 64 / 15.3195879547406;  // 1 / h
inline constexpr float kStep32 = 0.23936856f;
inline constexpr float kInvStep32 = 4.177658f;
inline constexpr float kCut32 = -15.319588f;

// Row of a difference d in (cut, 0]: 1 to 64, or 65 on the boundary; a NaN
// lands in the last row (and gives NaN).
template <class F>
VSP_ALWAYS_INLINE int tableRow(F x) {
  return x < F(64) ? int(x) + 1 : 65;
}

// vspsLogAdd_32f's fast path: difference, t and bracket in single precision,
// the two outer additions in double.
VSP_ALWAYS_INLINE float tableStep32(float a, float b) {
  float hi = a, lo = b;
  if (b > a) {
    hi = b;
    lo = a;
  }
  const float d = -(hi - lo);
  if (d <= kCut32) return float(FloorMax32::apply(double(hi)));
  const int k = tableRow(-d * kInvStep32);
  const TableRow& r = kTable[k];
  const float t = (d + float(k) * kStep32) * kInvStep32;
  const float bend = t * ((t - 1.0f) * r.t2 + r.t1);
  return float((double(hi) + double(r.t0)) + double(bend));
}

// The integer members' fast path: everything in double, strict cut-off, no
// floor.
VSP_ALWAYS_INLINE double tableStepReal(double a, double b) {
  double hi = a, lo = b;
  if (b > a) {
    hi = b;
    lo = a;
  }
  const double d = -(hi - lo);
  if (d < Poly32::kCut) return hi;
  const int k = tableRow(-d * kInvStep64);
  const TableRow& r = kTable[k];
  const double t = (d + double(k) * kStep64) * kInvStep64;
  return (hi + double(r.t0)) + t * ((t - 1.0) * double(r.t2) + double(r.t1));
}

}  // namespace logadd

VSP_NS_END
