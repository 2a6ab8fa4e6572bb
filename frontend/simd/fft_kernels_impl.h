// The real transform written once over a vector type. Included by each
// kernel translation unit inside its own namespace, after it has defined its
// vector type V and named it in VSP_FFT_VECTOR (the scalar unit names V1,
// the one-lane type below):
//
//   V::W lanes; V::load / V::set1 / store; operators + - *;
//   reverse(V)                          lanes in the opposite order;
//   loadDeinterleave2(p, even, odd)     2W floats into even and odd positions;
//   storeInterleave2(p, a, b)           a[l], b[l] to p[2l], p[2l+1];
//   storeInterleave4x1(p, a0..a3)       a_k[l] to p[4l + k];
//   storeInterleave4x4(p, a0..a3)       a_k[4c + r] to p[16c + 4k + r] (W > 4 only);
//   magnitudes(re, im)                  float(sqrt(double(re)^2 + double(im)^2)) a lane.
//
// The data run through the stages as separate real and imaginary arrays. A
// radix-4 Stockham stage of length n and stride s reads x[q + s(p + jm)] and
// writes y[q + s(4p + k)] = DFT4(...)_k * w_n^(kp), m = n / 4. Stages whose
// stride holds whole vectors run along q with broadcast twiddles; the first
// stage (stride 1) runs along p with vector twiddles and interleaves its four
// outputs, and on tiers wider than four lanes the stride-4 stage runs along
// q + 4p with the repeated twiddle table. The twiddle-free column p = 0 of
// the strided stages skips its multiplications.
//
// Each element sees the same operations in the same order on every path
// (tails and single elements go through the one-lane type V1), so the paths
// agree bit for bit.

namespace {

struct V1 {
  float v;
  static constexpr int W = 1;
  static V1 load(const float* p) { return {*p}; }
  static V1 set1(float f) { return {f}; }
  void store(float* p) const { *p = v; }
};
inline V1 operator+(V1 a, V1 b) { return {a.v + b.v}; }
inline V1 operator-(V1 a, V1 b) { return {a.v - b.v}; }
inline V1 operator*(V1 a, V1 b) { return {a.v * b.v}; }
inline V1 reverse(V1 a) { return a; }
inline void loadDeinterleave2(const float* p, V1& a, V1& b) { a.v = p[0], b.v = p[1]; }
inline void storeInterleave2(float* p, V1 a, V1 b) { p[0] = a.v, p[1] = b.v; }
inline void storeInterleave4x1(float* p, V1 a, V1 b, V1 c, V1 d) {
  p[0] = a.v, p[1] = b.v, p[2] = c.v, p[3] = d.v;
}
inline void storeInterleave4x4(float*, V1, V1, V1, V1) {}

template <class T>
struct Cx {
  T r, i;
};
template <class T>
inline Cx<T> operator+(Cx<T> a, Cx<T> b) {
  return {a.r + b.r, a.i + b.i};
}
template <class T>
inline Cx<T> operator-(Cx<T> a, Cx<T> b) {
  return {a.r - b.r, a.i - b.i};
}
template <class T>
inline Cx<T> loadCx(const float* re, const float* im, int64_t at) {
  return {T::load(re + at), T::load(im + at)};
}
template <class T>
inline void storeCx(float* re, float* im, int64_t at, Cx<T> a) {
  a.r.store(re + at);
  a.i.store(im + at);
}
template <class T>
inline Cx<T> times(Cx<T> a, T wr, T wi) {
  return {a.r * wr - a.i * wi, a.r * wi + a.i * wr};
}

// Forward four-point DFT: y_k = sum_j a_j (-i)^(jk).
template <class T>
inline void dft4(Cx<T> a0, Cx<T> a1, Cx<T> a2, Cx<T> a3, Cx<T>* y) {
  const Cx<T> t0 = a0 + a2, t1 = a0 - a2, t2 = a1 + a3, d = a1 - a3;
  y[0] = t0 + t2;
  y[2] = t0 - t2;
  y[1] = {t1.r + d.i, t1.i - d.r};
  y[3] = {t1.r - d.i, t1.i + d.r};
}

template <class T>
inline void applyTwiddles(Cx<T>* y, const T* w) {
  y[1] = times(y[1], w[0], w[1]);
  y[2] = times(y[2], w[2], w[3]);
  y[3] = times(y[3], w[4], w[5]);
}

// One column p of a strided stage, along q in whole vectors.
template <class T, bool Twiddled>
inline void stageColumn(const float* xr, const float* xi, float* yr, float* yi, int64_t in,
                        int64_t out, int64_t step, int64_t s, const T* w) {
  for (int64_t q = 0; q < s; q += T::W) {
    Cx<T> y[4];
    dft4(loadCx<T>(xr, xi, in + q), loadCx<T>(xr, xi, in + step + q),
         loadCx<T>(xr, xi, in + 2 * step + q), loadCx<T>(xr, xi, in + 3 * step + q), y);
    if (Twiddled) applyTwiddles(y, w);
    for (int k = 0; k < 4; ++k) storeCx(yr, yi, out + k * s + q, y[k]);
  }
}

template <class T>
void stageStrided(const float* xr, const float* xi, float* yr, float* yi, int64_t m, int64_t s,
                  const float* tw) {
  const int64_t step = s * m;
  stageColumn<T, false>(xr, xi, yr, yi, 0, 0, step, s, nullptr);
  for (int64_t p = 1; p < m; ++p) {
    T w[6];
    for (int c = 0; c < 6; ++c) w[c] = T::set1(tw[c * m + p]);
    stageColumn<T, true>(xr, xi, yr, yi, s * p, 4 * s * p, step, s, w);
  }
}

// The stages whose stride is narrower than a vector, along the flat index
// i = q + s p (s = 1 or 4): the four inputs of a butterfly lie len = s m
// apart, the twiddles come from a table of len values per component (the
// stage's own for s = 1, the repeated one for s = 4), and the four outputs
// are interleaved in chunks of s.
template <class T, int Stride>
void stageAlongRows(const float* xr, const float* xi, float* yr, float* yi, int64_t len,
                    const float* tw) {
  for (int64_t i = 0; i < len; i += T::W) {
    Cx<T> y[4];
    dft4(loadCx<T>(xr, xi, i), loadCx<T>(xr, xi, i + len), loadCx<T>(xr, xi, i + 2 * len),
         loadCx<T>(xr, xi, i + 3 * len), y);
    T w[6];
    for (int c = 0; c < 6; ++c) w[c] = T::load(tw + c * len + i);
    applyTwiddles(y, w);
    if (Stride == 1) {
      storeInterleave4x1(yr + 4 * i, y[0].r, y[1].r, y[2].r, y[3].r);
      storeInterleave4x1(yi + 4 * i, y[0].i, y[1].i, y[2].i, y[3].i);
    } else {
      storeInterleave4x4(yr + 4 * i, y[0].r, y[1].r, y[2].r, y[3].r);
      storeInterleave4x4(yi + 4 * i, y[0].i, y[1].i, y[2].i, y[3].i);
    }
  }
}

template <class T>
void stageRadix2(const float* xr, const float* xi, float* yr, float* yi, int64_t s) {
  for (int64_t q = 0; q < s; q += T::W) {
    const Cx<T> a = loadCx<T>(xr, xi, q), b = loadCx<T>(xr, xi, q + s);
    storeCx(yr, yi, q, a + b);
    storeCx(yr, yi, q + s, a - b);
  }
}

// The complex transform of length M, ping-ponging between (xr, xi) and
// (yr, yi); on return (xr, xi) hold the result.
template <class T>
void complexTransform(const FftPlan& plan, float*& xr, float*& xi, float*& yr, float*& yi) {
  int64_t n = plan.m, s = 1;
  for (int32_t t = 0; t < plan.stageCount; ++t, n /= 4, s *= 4) {
    const int64_t m = n / 4;
    if (T::W > 1 && s == 1)
      stageAlongRows<T, 1>(xr, xi, yr, yi, m, plan.stage[t]);
    else if (T::W > 4 && s == 4)
      stageAlongRows<T, 4>(xr, xi, yr, yi, 4 * m, plan.second);
    else
      stageStrided<T>(xr, xi, yr, yi, m, s, plan.stage[t]);
    float* tr = xr;
    float* ti = xi;
    xr = yr, xi = yi, yr = tr, yi = ti;
  }
  if (n == 2) {
    stageRadix2<T>(xr, xi, yr, yi, s);
    float* tr = xr;
    float* ti = xi;
    xr = yr, xi = yi, yr = tr, yi = ti;
  }
}

// Splits Z, the transform of the packed input, into X[k] and X[M-k] for the
// lanes k .. k+W-1 (all below M/2, or k = M/2 alone with one lane):
//   X[k] = E + w^k O, X[M-k] = conj(E - w^k O),
//   E = (Z[k] + conj Z[M-k]) / 2, O = -i (Z[k] - conj Z[M-k]) / 2.
// `off` is 0 for the complex form and -1 for the half-complex form.
template <class T>
inline void splitLanes(const FftPlan& plan, const float* zr, const float* zi, float* dst,
                       int64_t off, int64_t k, T h) {
  const int64_t mirror = plan.m - k - (T::W - 1);
  const T ar = T::load(zr + k), ai = T::load(zi + k);
  const T br = reverse(T::load(zr + mirror)), bi = reverse(T::load(zi + mirror));
  const T er = h * (ar + br), ei = h * (ai - bi);
  const T orr = h * (ai + bi), oi = h * (br - ar);
  const T c = T::load(plan.postCos + k), s = T::load(plan.postSin + k);
  const T tr = c * orr - s * oi, ti = c * oi + s * orr;
  storeInterleave2(dst + 2 * k + off, er + tr, ei + ti);
  if (mirror != k) storeInterleave2(dst + 2 * mirror + off, reverse(er - tr), reverse(ti - ei));
}

template <class T>
void forwardReal(const FftPlan& plan, const float* src, float* dst, float* scratch, float scale,
                 bool halfComplex) {
  const int64_t m = plan.m;
  float* xr = scratch;
  float* xi = scratch + m;
  float* yr = scratch + 2 * m;
  float* yi = scratch + 3 * m;
  int64_t i = 0;
  for (; i + T::W <= m; i += T::W) {
    T e, o;
    loadDeinterleave2(src + 2 * i, e, o);
    e.store(xr + i);
    o.store(xi + i);
  }
  for (; i < m; ++i) xr[i] = src[2 * i], xi[i] = src[2 * i + 1];

  complexTransform<T>(plan, xr, xi, yr, yi);

  const int64_t off = halfComplex ? -1 : 0, half = m / 2;
  int64_t k = 1;
  for (; k + T::W <= half; k += T::W)
    splitLanes<T>(plan, xr, xi, dst, off, k, T::set1(0.5f * scale));
  for (; k <= half; ++k) splitLanes<V1>(plan, xr, xi, dst, off, k, V1{0.5f * scale});
  const float x0 = (xr[0] + xi[0]) * scale, xm = (xr[0] - xi[0]) * scale;
  dst[0] = x0;
  if (halfComplex) {
    dst[2 * m - 1] = xm;
  } else {
    dst[1] = 0.0f;
    dst[2 * m] = xm;
    dst[2 * m + 1] = 0.0f;
  }
}

// The inverse of splitLanes, times two: from X[k] and X[M-k] of the
// half-complex input, Z'[k] = S + iT and Z'[M-k] = conj S + i conj T with
// S = X[k] + conj X[M-k], T = (X[k] - conj X[M-k]) conj(w^k). The complex
// inverse runs as the forward transform with real and imaginary parts
// exchanged, so Im Z' goes to `re` and Re Z' to `im`.
template <class T>
inline void mergeLanes(const FftPlan& plan, const float* src, float* re, float* im, int64_t k) {
  const int64_t mirror = plan.m - k - (T::W - 1);
  T ar, ai, br, bi;
  loadDeinterleave2(src + 2 * k - 1, ar, ai);
  loadDeinterleave2(src + 2 * mirror - 1, br, bi);
  br = reverse(br), bi = reverse(bi);
  const T sr = ar + br, si = ai - bi, dr = ar - br, di = ai + bi;
  const T c = T::load(plan.postCos + k), s = T::load(plan.postSin + k);
  const T tr = dr * c + di * s, ti = di * c - dr * s;
  (si + tr).store(re + k);
  (sr - ti).store(im + k);
  if (mirror != k) {
    reverse(tr - si).store(re + mirror);
    reverse(sr + ti).store(im + mirror);
  }
}

template <class T>
void inverseReal(const FftPlan& plan, const float* src, float* dst, float* scratch, float scale) {
  const int64_t m = plan.m, half = m / 2;
  float* xr = scratch;
  float* xi = scratch + m;
  float* yr = scratch + 2 * m;
  float* yi = scratch + 3 * m;
  const float a = src[0], b = src[2 * m - 1];
  xr[0] = a - b;
  xi[0] = a + b;
  int64_t k = 1;
  for (; k + T::W <= half; k += T::W) mergeLanes<T>(plan, src, xr, xi, k);
  for (; k <= half; ++k) mergeLanes<V1>(plan, src, xr, xi, k);

  complexTransform<T>(plan, xr, xi, yr, yi);

  const T sv = T::set1(scale);
  int64_t i = 0;
  for (; i + T::W <= m; i += T::W)
    storeInterleave2(dst + 2 * i, sv * T::load(xi + i), sv * T::load(xr + i));
  for (; i < m; ++i) storeInterleave2(dst + 2 * i, V1{scale} * V1{xi[i]}, V1{scale} * V1{xr[i]});
}

// Magnitudes of W pairs in double precision; each tier supplies its
// `magnitudes(re, im)`, the one-lane version is here.
inline V1 magnitudes(V1 re, V1 im) {
  const double r = re.v, i = im.v;
  return {float(__builtin_sqrt(r * r + i * i))};
}

}  // namespace

void fftMagnitudePairs(const float* src, float* dst, int64_t count) {
  using T = VSP_FFT_VECTOR;
  int64_t k = 0;
  for (; k + T::W <= count; k += T::W) {
    T re, im;
    loadDeinterleave2(src + 2 * k, re, im);
    magnitudes(re, im).store(dst + k);
  }
  for (; k < count; ++k) magnitudes(V1{src[2 * k]}, V1{src[2 * k + 1]}).store(dst + k);
}

// The unit names its vector type in VSP_FFT_VECTOR before including this file.
void fftForwardReal(const FftPlan& plan, const float* src, float* dst, float* scratch, float scale,
                    bool halfComplex) {
  forwardReal<VSP_FFT_VECTOR>(plan, src, dst, scratch, scale, halfComplex);
}

void fftInverseReal(const FftPlan& plan, const float* src, float* dst, float* scratch,
                    float scale) {
  inverseReal<VSP_FFT_VECTOR>(plan, src, dst, scratch, scale);
}
