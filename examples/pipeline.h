/*
 * The road of one frame of audio through a recogniser front end built on
 * vspsr, as the demo runs it: framing with pre-emphasis and a Hamming window,
 * a Mel filter bank that transforms the frame itself, logarithms, liftered
 * cepstra with C0, streamed first and second derivatives, and the per-frame
 * log likelihood under a small diagonal Gaussian mixture.
 *
 * Shared by the demo, the end-to-end test and the pipeline benchmark.
 */
#ifndef VSPSR_EXAMPLES_PIPELINE_H
#define VSPSR_EXAMPLES_PIPELINE_H

#include <stddef.h>

#include "vspsr.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Front-end settings derived from the sampling rate. */
typedef struct PipelineConfig {
  int sampleRate;
  int frameLen;   /* 25 ms */
  int frameShift; /* 10 ms */
  int fftLen;     /* smallest power of two holding a frame */
  int filters;    /* Mel filters */
  int ceps;       /* cepstra besides C0 */
  int lifterLen;
  int dims;       /* (ceps + 1) * 3 */
  int deltaBlock; /* frames per streamed delta call */
  int components; /* mixture components */
  float lowFreq, highFreq, melMul, melDiv, preEmphasis;
} PipelineConfig;

/* Seconds spent in each stage. */
typedef struct PipelineTimes {
  double setup, framing, filterBank, logarithm, cepstra, deltas, scoring, total;
} PipelineTimes;

typedef struct PipelineResult {
  int frames;
  int dims;
  float* features; /* frames rows of dims: static, delta, second derivative */
  float* scores;   /* one log likelihood per frame */
  double meanScore;
  PipelineTimes times;
} PipelineResult;

/* Settings for a sampling rate; 0 when the rate is outside 8000 to 48000. */
int pipelineConfigure(int sampleRate, PipelineConfig* cfg);

/* Frames of `n` samples; 0 when the signal is shorter than one frame. */
int pipelineFrameCount(const PipelineConfig* cfg, size_t n);

/* Runs the whole road over `n` samples. Returns vspStatusOk, a library
 * status, or vspStatusNoMemory when the demo's own buffers cannot be had.
 * On success the result owns its arrays: release with pipelineRelease. */
VspStatus pipelineRun(const PipelineConfig* cfg, const Vsp16s* samples, size_t n,
                      PipelineResult* out);
void pipelineRelease(PipelineResult* r);

/* The mixture the demo scores with: `cfg->components` diagonal Gaussians
 * spread around the utterance's own feature mean, equal weights folded into
 * the constants. means and invVars are components rows of dims. */
void pipelineMixture(const PipelineConfig* cfg, const float* features, int frames, float* means,
                     float* invVars, float* gConsts);

/* A two-second, utterance-like test signal: voiced vowels with moving
 * formants and pitch, a fricative, stops and pauses over low noise. Writes
 * `seconds * rate` samples, deterministic for a given rate. */
void pipelineSynthesize(Vsp16s* out, size_t n, int sampleRate);

/* Reads a 16-bit PCM WAV file (first channel of several). Returns 0 and a
 * malloc'd sample array on success; otherwise writes a message to `err`. */
int pipelineReadWav(const char* path, Vsp16s** samples, size_t* n, int* sampleRate, char* err,
                    size_t errLen);

#ifdef __cplusplus
}
#endif

#endif
