/*
 * demo: audio to feature vectors to scores, the library's main job.
 *
 *   demo [input.wav] [-o features.csv | -o -]
 *
 * Reads a 16-bit PCM WAV file, or synthesises a two-second utterance-like
 * signal when none is given, runs it through the front end and the mixture
 * scorer of pipeline.c, writes the features as CSV (static, delta and second
 * derivative columns, then the frame's log likelihood) and prints a summary.
 */
#define _POSIX_C_SOURCE 199309L

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "pipeline.h"

static int usage(const char* argv0) {
  fprintf(stderr, "usage: %s [input.wav] [-o features.csv | -o -]\n", argv0);
  return 2;
}

static int writeCsv(FILE* out, const PipelineResult* r, const PipelineConfig* cfg) {
  const int w = cfg->ceps + 1;
  int t, d;
  for (d = 0; d < r->dims; ++d) {
    const char* block = d < w ? "c" : d < 2 * w ? "d" : "dd";
    const int i = d % w;
    /* C0 comes last in each block. */
    if (i == cfg->ceps)
      fprintf(out, "%s0,", block);
    else
      fprintf(out, "%s%d,", block, i + 1);
  }
  fprintf(out, "loglik\n");
  for (t = 0; t < r->frames; ++t) {
    for (d = 0; d < r->dims; ++d)
      fprintf(out, "%.6g,", (double)r->features[(size_t)t * r->dims + d]);
    fprintf(out, "%.6g\n", (double)r->scores[t]);
  }
  return ferror(out) ? 1 : 0;
}

int main(int argc, char** argv) {
  const char* input = NULL;
  const char* csvPath = "features.csv";
  const VspLibraryVersion* v = vspsrGetLibVersion();
  PipelineConfig cfg;
  PipelineResult res;
  Vsp16s* samples = NULL;
  size_t n = 0;
  int rate = 16000, i;
  char err[512];
  FILE* csv;
  FILE* info;
  VspStatus st;
  double seconds;

  for (i = 1; i < argc; ++i) {
    if (strcmp(argv[i], "-o") == 0) {
      if (++i >= argc) return usage(argv[0]);
      csvPath = argv[i];
    } else if (argv[i][0] == '-' && argv[i][1] != '\0') {
      return usage(argv[0]);
    } else if (!input) {
      input = argv[i];
    } else {
      return usage(argv[0]);
    }
  }

  if (input) {
    if (pipelineReadWav(input, &samples, &n, &rate, err, sizeof err) != 0) {
      fprintf(stderr, "demo: %s\n", err);
      return 1;
    }
  } else {
    n = (size_t)(2 * rate);
    samples = (Vsp16s*)malloc(sizeof(Vsp16s) * n);
    if (!samples) {
      fprintf(stderr, "demo: out of memory\n");
      return 1;
    }
    pipelineSynthesize(samples, n, rate);
  }
  if (!pipelineConfigure(rate, &cfg)) {
    fprintf(stderr, "demo: unsupported sampling rate %d Hz (8000 to 48000 Hz)\n", rate);
    free(samples);
    return 1;
  }
  st = pipelineRun(&cfg, samples, n, &res);
  seconds = (double)n / rate;
  free(samples);
  if (st == vspStatusBadSize) {
    fprintf(stderr, "demo: the audio is too short: it needs at least %d ms\n",
            (cfg.frameLen + 5 * cfg.frameShift) * 1000 / rate + 1);
    return 1;
  }
  if (st != vspStatusOk) {
    fprintf(stderr, "demo: the pipeline failed with status %d\n", (int)st);
    return 1;
  }

  /* With the features on standard output, the summary goes to stderr. */
  csv = strcmp(csvPath, "-") == 0 ? stdout : fopen(csvPath, "w");
  info = csv == stdout ? stderr : stdout;
  if (!csv || writeCsv(csv, &res, &cfg) != 0 || (csv != stdout && fclose(csv) != 0)) {
    fprintf(stderr, "demo: cannot write '%s'\n", csvPath);
    pipelineRelease(&res);
    return 1;
  }

  fprintf(info, "vspsr %s (%s)\n", v->versionText, v->buildDate);
  fprintf(info, "input       %s, %.2f s at %d Hz\n", input ? input : "built-in utterance", seconds,
          rate);
  fprintf(info, "front end   %d ms frames every %d ms, %d-point transform, %d Mel filters\n",
          cfg.frameLen * 1000 / rate, cfg.frameShift * 1000 / rate, cfg.fftLen, cfg.filters);
  fprintf(info, "features    %d frames x %d dimensions (%d cepstra + C0, deltas, second)\n",
          res.frames, res.dims, cfg.ceps);
  fprintf(info, "scores      mean log likelihood %.3f per frame under %d Gaussians\n",
          res.meanScore, cfg.components);
  fprintf(info, "time        %.3f ms: %.0f x real time\n", 1e3 * res.times.total,
          res.times.total > 0 ? seconds / res.times.total : 0.0);
  fprintf(info,
          "  setup %.0f%%, framing %.0f%%, filter bank %.0f%%, log %.0f%%, cepstra %.0f%%, "
          "deltas %.0f%%, scoring %.0f%%\n",
          100 * res.times.setup / res.times.total, 100 * res.times.framing / res.times.total,
          100 * res.times.filterBank / res.times.total, 100 * res.times.logarithm / res.times.total,
          100 * res.times.cepstra / res.times.total, 100 * res.times.deltas / res.times.total,
          100 * res.times.scoring / res.times.total);
  fprintf(info, "output      %s\n", csv == stdout ? "features on standard output" : csvPath);
  pipelineRelease(&res);
  return 0;
}
