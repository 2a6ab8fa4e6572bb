/*
 * The demo's front end and scorer, on the library's exports. See pipeline.h.
 */
#define _POSIX_C_SOURCE 199309L

#include "pipeline.h"

#include <errno.h>
#include <math.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>

static const double kPi = 3.14159265358979323846;

static double now(void) {
  struct timespec t;
  clock_gettime(CLOCK_MONOTONIC, &t);
  return (double)t.tv_sec + 1e-9 * (double)t.tv_nsec;
}

int pipelineConfigure(int sampleRate, PipelineConfig* cfg) {
  if (sampleRate < 8000 || sampleRate > 48000) return 0;
  memset(cfg, 0, sizeof *cfg);
  cfg->sampleRate = sampleRate;
  cfg->frameLen = (int)lround(0.025 * sampleRate);
  cfg->frameShift = (int)lround(0.010 * sampleRate);
  cfg->fftLen = 2;
  while (cfg->fftLen < cfg->frameLen) cfg->fftLen *= 2;
  cfg->filters = 26;
  cfg->ceps = 12;
  cfg->lifterLen = 22;
  cfg->dims = 3 * (cfg->ceps + 1);
  cfg->deltaBlock = 32;
  cfg->components = 4;
  cfg->lowFreq = 64.0f;
  cfg->highFreq = 0.5f * (float)sampleRate;
  cfg->melMul = 1127.0f;
  cfg->melDiv = 700.0f;
  cfg->preEmphasis = 0.97f;
  return 1;
}

int pipelineFrameCount(const PipelineConfig* cfg, size_t n) {
  if (n < (size_t)cfg->frameLen) return 0;
  return 1 + (int)((n - (size_t)cfg->frameLen) / (size_t)cfg->frameShift);
}

void pipelineRelease(PipelineResult* r) {
  free(r->features);
  free(r->scores);
  r->features = NULL;
  r->scores = NULL;
}

void pipelineMixture(const PipelineConfig* cfg, const float* features, int frames, float* means,
                     float* invVars, float* gConsts) {
  const int dims = cfg->dims, k = cfg->components;
  int c, d, t;
  for (d = 0; d < dims; ++d) {
    double sum = 0.0, sq = 0.0, mu, var;
    for (t = 0; t < frames; ++t) sum += features[(size_t)t * dims + d];
    mu = sum / frames;
    for (t = 0; t < frames; ++t) {
      const double e = features[(size_t)t * dims + d] - mu;
      sq += e * e;
    }
    var = sq / frames;
    if (var < 1e-4) var = 1e-4;
    /* Components sit half a deviation either side of the mean, in a pattern
     * that differs per component and dimension. */
    for (c = 0; c < k; ++c) {
      const double side = ((c + d) & 1) ? 0.5 : -0.5;
      means[(size_t)c * dims + d] = (float)(mu + side * sqrt(var) * (c < 2 ? 1.0 : 0.5));
      invVars[(size_t)c * dims + d] = (float)(1.0 / var);
    }
  }
  for (c = 0; c < k; ++c) {
    double g = log(1.0 / k);
    for (d = 0; d < dims; ++d) g -= 0.5 * log(2.0 * kPi / invVars[(size_t)c * dims + d]);
    gConsts[c] = (float)g;
  }
}

/* Streams the static rows through the second-derivative filter in blocks of
 * cfg->deltaBlock frames. The library keeps the history in its output rows:
 * after each call the last six rows move to the top of the buffer for the
 * next call, and the rows above them are final. */
static VspStatus streamDeltas(const PipelineConfig* cfg, const float* statics, int frames,
                              float* features) {
  const int width = cfg->ceps + 1, dims = cfg->dims, history = 6;
  const float scale = 0.1f; /* 1 / (2 * (1 + 4)): the regression's normaliser */
  float* dst = (float*)malloc(sizeof(float) * (size_t)(history + cfg->deltaBlock) * (size_t)dims);
  int carry = 0, done = 0, b;
  if (!dst) return vspStatusNoMemory;
  for (b = 0; b < frames; b += cfg->deltaBlock) {
    const int h = frames - b < cfg->deltaBlock ? frames - b : cfg->deltaBlock;
    const int last = b + h == frames;
    const int mode = (b == 0 ? vspDeltaBegin : 0) | (last ? vspDeltaEnd : 0);
    int rows, final;
    const VspStatus st = vspsDeltaDelta_Win2_32f_D2(statics + (size_t)b * width, width, dst, dims,
                                                    h, scale, scale, mode);
    if (st != vspStatusOk) {
      free(dst);
      return st;
    }
    rows = carry + h;
    final = last ? rows : rows - history;
    memcpy(features + (size_t)done * dims, dst, sizeof(float) * (size_t) final * dims);
    memmove(dst, dst + (size_t) final * dims, sizeof(float) * (size_t)(rows - final) * dims);
    done += final;
    carry = rows - final;
  }
  free(dst);
  return vspStatusOk;
}

VspStatus pipelineRun(const PipelineConfig* cfg, const Vsp16s* samples, size_t n,
                      PipelineResult* out) {
  const int frames = pipelineFrameCount(cfg, n), width = cfg->ceps + 1, dims = cfg->dims;
  const int fftLen = cfg->fftLen, k = cfg->components;
  VspFBankState_32f* bank = NULL;
  VspDCTLifterState_32f* dct = NULL;
  float *frame = NULL, *window = NULL, *bands = NULL, *statics = NULL, *model = NULL;
  Vsp32s order = 0;
  VspStatus st = vspStatusOk;
  double t0, t1;
  int t, i;

  memset(out, 0, sizeof *out);
  if (frames < 6) return vspStatusBadSize; /* the derivatives need six frames */
  out->frames = frames;
  out->dims = dims;
  out->features = (float*)malloc(sizeof(float) * (size_t)frames * dims);
  out->scores = (float*)malloc(sizeof(float) * (size_t)frames);
  frame = (float*)calloc((size_t)fftLen, sizeof(float));
  window = (float*)malloc(sizeof(float) * (size_t)cfg->frameLen);
  bands = (float*)malloc(sizeof(float) * (size_t)cfg->filters);
  statics = (float*)malloc(sizeof(float) * (size_t)frames * width);
  model = (float*)malloc(sizeof(float) * (size_t)(2 * dims + 1) * k);
  if (!out->features || !out->scores || !frame || !window || !bands || !statics || !model) {
    st = vspStatusNoMemory;
    goto done;
  }
  for (i = 0; i < cfg->frameLen; ++i)
    window[i] = (float)(0.54 - 0.46 * cos(2.0 * kPi * i / (cfg->frameLen - 1)));

  t0 = now();
  st = vspsMelFBankInitAlloc_32f(&bank, &order, fftLen, (float)cfg->sampleRate, cfg->lowFreq,
                                 cfg->highFreq, cfg->filters, cfg->melMul, cfg->melDiv,
                                 vspFBankMelWeights | vspFBankTransformInput);
  if (st == vspStatusOk)
    st = vspsDCTLifterInitAlloc_C0_32f(&dct, cfg->filters, cfg->ceps, cfg->lifterLen, 1.0f, 1.0f);
  out->times.setup = now() - t0;
  if (st != vspStatusOk) goto done;

  for (t = 0; t < frames; ++t) {
    const Vsp16s* x = samples + (size_t)t * cfg->frameShift;
    double a = now(), b;
    /* Pre-emphasis reaches one sample back, into the previous frame where
     * there is one; then the window. The rest of the transform stays zero. */
    for (i = cfg->frameLen - 1; i >= 0; --i) {
      const float prev = i > 0 ? (float)x[i - 1] : (t > 0 ? (float)x[-1] : (float)x[0]);
      frame[i] = ((float)x[i] - cfg->preEmphasis * prev) * window[i];
    }
    b = now();
    out->times.framing += b - a;
    st = vspsEvalFBank_32f(frame, bands, bank);
    a = now();
    out->times.filterBank += a - b;
    if (st != vspStatusOk) goto done;
    for (i = 0; i < cfg->filters; ++i) bands[i] = logf(bands[i] > 1e-6f ? bands[i] : 1e-6f);
    b = now();
    out->times.logarithm += b - a;
    st = vspsDCTLifter_32f(bands, statics + (size_t)t * width, dct);
    out->times.cepstra += now() - b;
    if (st != vspStatusOk) goto done;
  }

  t0 = now();
  st = streamDeltas(cfg, statics, frames, out->features);
  t1 = now();
  out->times.deltas = t1 - t0;
  if (st != vspStatusOk) goto done;

  {
    float* means = model;
    float* invVars = model + (size_t)dims * k;
    float* gConsts = model + (size_t)2 * dims * k;
    double sum = 0.0;
    pipelineMixture(cfg, out->features, frames, means, invVars, gConsts);
    t0 = now();
    for (t = 0; t < frames && st == vspStatusOk; ++t)
      st = vspsLogGaussMixture_32f_D2(out->features + (size_t)t * dims, means, invVars, k, dims,
                                      dims, gConsts, out->scores + t);
    out->times.scoring = now() - t0;
    for (t = 0; t < frames; ++t) sum += out->scores[t];
    out->meanScore = sum / frames;
  }

done:
  if (bank) vspsFBankFree_32f(bank);
  if (dct) vspsDCTLifterFree_32f(dct);
  free(frame);
  free(window);
  free(bands);
  free(statics);
  free(model);
  if (st != vspStatusOk) pipelineRelease(out);
  out->times.total = out->times.setup + out->times.framing + out->times.filterBank +
                     out->times.logarithm + out->times.cepstra + out->times.deltas +
                     out->times.scoring;
  return st;
}

/* ---- The built-in signal ------------------------------------------------- */

typedef struct Resonator {
  double a1, a2, gain, y1, y2;
} Resonator;

static void resonatorTune(Resonator* r, double freq, double bandwidth, int rate) {
  const double radius = exp(-kPi * bandwidth / rate);
  r->a1 = 2.0 * radius * cos(2.0 * kPi * freq / rate);
  r->a2 = -radius * radius;
  r->gain = 1.0 - r->a1 - r->a2; /* unit gain at zero frequency */
}

static double resonatorStep(Resonator* r, double x) {
  const double y = r->gain * x + r->a1 * r->y1 + r->a2 * r->y2;
  r->y2 = r->y1;
  r->y1 = y;
  return y;
}

static double noise(uint32_t* state) {
  *state = *state * 1664525u + 1013904223u;
  return (double)(*state >> 8) / 8388608.0 - 1.0;
}

/* Amplitude that rises and falls over 20 ms at the ends of [start, end). */
static double envelope(double t, double start, double end) {
  const double ramp = 0.02;
  if (t < start || t >= end) return 0.0;
  if (t < start + ramp) return 0.5 - 0.5 * cos(kPi * (t - start) / ramp);
  if (t > end - ramp) return 0.5 - 0.5 * cos(kPi * (end - t) / ramp);
  return 1.0;
}

void pipelineSynthesize(Vsp16s* out, size_t n, int sampleRate) {
  /* Vowels: start, end, pitch at both ends, three formants. */
  static const double vowels[3][8] = {
      {0.20, 0.55, 120, 140, 730, 1090, 2440, 0},
      {0.80, 1.20, 140, 110, 270, 2290, 3010, 0},
      {1.30, 1.72, 115, 100, 300, 870, 2240, 0},
  };
  Resonator f[3], hiss;
  uint32_t seed = 12345u;
  double phase = 0.0, glottal = 0.0;
  size_t i;
  int v, j;
  memset(f, 0, sizeof f);
  memset(&hiss, 0, sizeof hiss);
  resonatorTune(&hiss, 0.42 * sampleRate, 0.15 * sampleRate, sampleRate);
  for (i = 0; i < n; ++i) {
    const double t = (double)i / sampleRate;
    double voiced = 0.0, s = 0.0;
    for (v = 0; v < 3; ++v) {
      const double* p = vowels[v];
      const double e = envelope(t, p[0], p[1]);
      if (e > 0.0) {
        const double pos = (t - p[0]) / (p[1] - p[0]);
        const double pitch = p[2] + (p[3] - p[2]) * pos;
        for (j = 0; j < 3; ++j) resonatorTune(&f[j], p[4 + j], 60.0 + 40.0 * j, sampleRate);
        phase += pitch / sampleRate;
        if (phase >= 1.0) phase -= 1.0;
        /* A smoothed pulse per period stands in for the glottal source. */
        glottal = 0.8 * glottal + (phase < pitch / sampleRate ? 1.0 : 0.0);
        voiced = e * glottal;
      }
    }
    s = voiced;
    for (j = 0; j < 3; ++j) s = resonatorStep(&f[j], s) * (j == 0 ? 1.0 : 0.9);
    s *= 9000.0;
    /* A fricative, a stop burst and a floor of background noise. */
    s += 2500.0 * envelope(t, 0.62, 0.80) * resonatorStep(&hiss, noise(&seed));
    s += 4000.0 * envelope(t, 1.22, 1.245) * noise(&seed);
    s += 30.0 * noise(&seed);
    if (s > 32767.0) s = 32767.0;
    if (s < -32768.0) s = -32768.0;
    out[i] = (Vsp16s)lrint(s);
  }
}

/* ---- WAV input -------------------------------------------------------------- */

static unsigned u16le(const unsigned char* p) { return (unsigned)p[0] | ((unsigned)p[1] << 8); }
static Vsp16s s16le(const unsigned char* p) {
  const long v = (long)u16le(p);
  return (Vsp16s)(v >= 32768 ? v - 65536 : v);
}
static unsigned long u32le(const unsigned char* p) {
  return (unsigned long)p[0] | ((unsigned long)p[1] << 8) | ((unsigned long)p[2] << 16) |
         ((unsigned long)p[3] << 24);
}

int pipelineReadWav(const char* path, Vsp16s** samples, size_t* n, int* sampleRate, char* err,
                    size_t errLen) {
  FILE* fp = fopen(path, "rb");
  unsigned char* buf = NULL;
  size_t size = 0, cap = 0, pos, dataAt = 0, dataLen = 0, count, i;
  unsigned format = 0, channels = 0, bits = 0, align = 0;
  unsigned long rate = 0;
  int haveFmt = 0, haveData = 0;

  if (!fp) {
    snprintf(err, errLen, "cannot open '%s': %s", path, strerror(errno));
    return 1;
  }
  /* Whole file into memory, bounded: a WAV file here is speech, not hours. */
  for (;;) {
    size_t got;
    if (size == cap) {
      unsigned char* grown;
      if (cap >= ((size_t)1 << 30)) {
        fclose(fp);
        free(buf);
        snprintf(err, errLen, "'%s' is larger than 1 GiB", path);
        return 1;
      }
      cap = cap ? 2 * cap : 65536;
      grown = (unsigned char*)realloc(buf, cap);
      if (!grown) {
        fclose(fp);
        free(buf);
        snprintf(err, errLen, "out of memory reading '%s'", path);
        return 1;
      }
      buf = grown;
    }
    got = fread(buf + size, 1, cap - size, fp);
    size += got;
    if (got == 0) break;
  }
  fclose(fp);

  if (size < 12 || memcmp(buf, "RIFF", 4) != 0 || memcmp(buf + 8, "WAVE", 4) != 0) {
    free(buf);
    snprintf(err, errLen, "'%s' is not a RIFF/WAVE file", path);
    return 1;
  }
  /* Walk the chunks; every length is checked against what the file holds. */
  for (pos = 12; size - pos >= 8;) {
    const unsigned char* id = buf + pos;
    const unsigned long len = u32le(buf + pos + 4);
    const size_t body = pos + 8, avail = size - body;
    if (memcmp(id, "fmt ", 4) == 0 && !haveFmt) {
      if (len < 16 || avail < 16) break;
      format = u16le(buf + body);
      channels = u16le(buf + body + 2);
      rate = u32le(buf + body + 4);
      align = u16le(buf + body + 12);
      bits = u16le(buf + body + 14);
      if (format == 0xFFFE && len >= 26 && avail >= 26) format = u16le(buf + body + 24);
      haveFmt = 1;
    } else if (memcmp(id, "data", 4) == 0 && !haveData) {
      dataAt = body;
      dataLen = len < avail ? (size_t)len : avail; /* a truncated file keeps what it has */
      haveData = 1;
    }
    if (len >= avail) break;
    pos = body + (size_t)len + (len & 1u);
    if (pos > size) break;
  }
  if (!haveFmt || !haveData) {
    free(buf);
    snprintf(err, errLen, "'%s' has no %s chunk", path, haveFmt ? "data" : "format");
    return 1;
  }
  if (format != 1 || bits != 16 || channels < 1 || align != 2 * channels) {
    free(buf);
    snprintf(err, errLen, "'%s' is not 16-bit PCM (format %u, %u bits, %u channels)", path, format,
             bits, channels);
    return 1;
  }
  if (rate < 8000 || rate > 48000) {
    free(buf);
    snprintf(err, errLen, "'%s' has an unsupported sampling rate of %lu Hz (8000 to 48000 Hz)",
             path, rate);
    return 1;
  }
  count = dataLen / align;
  *samples = (Vsp16s*)malloc(sizeof(Vsp16s) * (count ? count : 1));
  if (!*samples) {
    free(buf);
    snprintf(err, errLen, "out of memory reading '%s'", path);
    return 1;
  }
  for (i = 0; i < count; ++i) (*samples)[i] = s16le(buf + dataAt + i * align);
  *n = count;
  *sampleRate = (int)rate;
  free(buf);
  return 0;
}
