// The demo's road from samples to scores, against the same road written in
// double precision here: a direct DFT, the bank's own weights, the cosine
// transform and lifter by their formulas, regression deltas with the edge
// frames repeated, and a long-double log-sum-exp over the mixture.
#include <cmath>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

#include "pipeline.h"
#include "support/harness.h"

namespace {

using ld = long double;
const double kPi = 3.14159265358979323846;

struct Reference {
  int frames = 0, dims = 0;
  std::vector<double> features, scores;
};

Reference referencePipeline(const PipelineConfig& cfg, const std::vector<Vsp16s>& x) {
  Reference r;
  const int frames = pipelineFrameCount(&cfg, x.size()), n = cfg.fftLen, w = cfg.ceps + 1;
  r.frames = frames;
  r.dims = cfg.dims;

  // The bank's triangles, as the library built them.
  VspFBankState_32f* bank = nullptr;
  Vsp32s order = 0;
  EXPECT_EQ(vspsMelFBankInitAlloc_32f(&bank, &order, n, float(cfg.sampleRate), cfg.lowFreq,
                                      cfg.highFreq, cfg.filters, cfg.melMul, cfg.melDiv,
                                      vspFBankMelWeights | vspFBankTransformInput),
            vspStatusOk);
  std::vector<Vsp32s> centers(cfg.filters + 2);
  EXPECT_EQ(vspsFBankGetCenters_32f(bank, centers.data()), vspStatusOk);
  std::vector<std::vector<float>> weights(cfg.filters);
  for (int j = 1; j <= cfg.filters; ++j) {
    weights[j - 1].resize(centers[j + 1] - centers[j - 1] + 1);
    EXPECT_EQ(vspsFBankGetCoeffs_32f(bank, j, weights[j - 1].data()), vspStatusOk);
  }
  vspsFBankFree_32f(bank);

  std::vector<double> statics(size_t(frames) * w), frame(n), mag(n / 2 + 1), bands(cfg.filters);
  for (int t = 0; t < frames; ++t) {
    const size_t o = size_t(t) * cfg.frameShift;
    std::fill(frame.begin(), frame.end(), 0.0);
    for (int i = 0; i < cfg.frameLen; ++i) {
      const double prev = i > 0 ? x[o + i - 1] : t > 0 ? x[o - 1] : x[o];
      const double win = 0.54 - 0.46 * std::cos(2 * kPi * i / (cfg.frameLen - 1));
      frame[i] = (x[o + i] - double(cfg.preEmphasis) * prev) * win;
    }
    for (int k = 0; k <= n / 2; ++k) {
      double re = 0, im = 0;
      for (int i = 0; i < cfg.frameLen; ++i) {
        re += frame[i] * std::cos(2 * kPi * double(k) * i / n);
        im -= frame[i] * std::sin(2 * kPi * double(k) * i / n);
      }
      mag[k] = std::hypot(re, im);
    }
    for (int j = 1; j <= cfg.filters; ++j) {
      double sum = 0;
      for (int k = centers[j - 1]; k <= centers[j + 1]; ++k)
        sum += double(weights[j - 1][k - centers[j - 1]]) * mag[k];
      bands[j - 1] = std::log(std::max(sum, 1e-6));
    }
    // Cepstra 1..ceps, then C0, with the sine lifter.
    for (int i = 0; i <= cfg.ceps; ++i) {
      double sum = 0;
      for (int k = 1; k <= cfg.filters; ++k)
        sum += std::cos((k - 0.5) * i * kPi / cfg.filters) * bands[k - 1];
      const double lifter =
          i == 0 ? 1.0 : 1.0 + std::sin(i * kPi / cfg.lifterLen) * (cfg.lifterLen / 2.0);
      statics[size_t(t) * w + (i == 0 ? cfg.ceps : i - 1)] = lifter * sum;
    }
  }

  // Regression over two frames either side, edges repeated; twice.
  auto regress = [&](const std::vector<double>& in) {
    std::vector<double> out(in.size());
    auto at = [&](int t, int c) {
      return in[size_t(std::min(std::max(t, 0), frames - 1)) * w + c];
    };
    for (int t = 0; t < frames; ++t)
      for (int c = 0; c < w; ++c)
        out[size_t(t) * w + c] =
            ((at(t + 1, c) - at(t - 1, c)) + 2 * (at(t + 2, c) - at(t - 2, c))) * 0.1;
    return out;
  };
  const std::vector<double> d = regress(statics), dd = regress(d);
  for (int t = 0; t < frames; ++t)
    for (const std::vector<double>* part : {&std::as_const(statics), &d, &dd})
      r.features.insert(r.features.end(), part->begin() + t * w, part->begin() + (t + 1) * w);

  // The demo's mixture, built from these features, scored exactly.
  const int k = cfg.components;
  std::vector<float> f32(r.features.begin(), r.features.end());
  std::vector<float> means(size_t(k) * cfg.dims), inv(size_t(k) * cfg.dims), g(k);
  pipelineMixture(&cfg, f32.data(), frames, means.data(), inv.data(), g.data());
  for (int t = 0; t < frames; ++t) {
    ld acc = 0;  // scores are a few hundred at most: no exponential overflows
    for (int c = 0; c < k; ++c) {
      ld sum = 0;
      for (int i = 0; i < cfg.dims; ++i) {
        const ld e = ld(r.features[size_t(t) * cfg.dims + i]) - means[size_t(c) * cfg.dims + i];
        sum += e * e * inv[size_t(c) * cfg.dims + i];
      }
      acc += std::exp(g[c] - sum / 2);
    }
    r.scores.push_back(double(std::log(acc)));
  }
  return r;
}

TEST(Pipeline, SyntheticUtteranceMatchesTheDoublePrecisionRoad) {
  for (int rate : {16000, 8000}) {
    SCOPED_TRACE("rate " + std::to_string(rate));
    PipelineConfig cfg;
    ASSERT_TRUE(pipelineConfigure(rate, &cfg));
    std::vector<Vsp16s> x(size_t(2 * rate));
    pipelineSynthesize(x.data(), x.size(), rate);
    PipelineResult res;
    ASSERT_EQ(pipelineRun(&cfg, x.data(), x.size(), &res), vspStatusOk);
    const Reference ref = referencePipeline(cfg, x);
    ASSERT_EQ(res.frames, ref.frames);
    ASSERT_EQ(res.dims, ref.dims);
    // Single precision against double through a transform, logarithms and a
    // lifter that multiplies by up to 12: a few parts in 1e4 of the value.
    auto worstOf = [](const auto* got, const std::vector<double>& want) {
      double worst = 0;
      for (size_t i = 0; i < want.size(); ++i)
        worst = std::max(worst, std::fabs(got[i] - want[i]) / (1 + std::fabs(want[i])));
      return worst;
    };
    const double worst = worstOf(res.features, ref.features);
    const double worstScore = worstOf(res.scores, ref.scores);
    EXPECT_LT(worst, 1e-3);
    EXPECT_LT(worstScore, 1e-3);
    std::printf("rate %d: %d frames, worst feature error %.2g, worst score error %.2g\n", rate,
                res.frames, worst, worstScore);
    pipelineRelease(&res);
  }
}

TEST(Pipeline, WavReaderRefusesWhatItCannotRead) {
  auto wav = [](unsigned format, unsigned channels, unsigned rate, unsigned bits,
                std::vector<unsigned char> data, unsigned long dataLen) {
    std::vector<unsigned char> b = {'R', 'I', 'F', 'F', 0,   0,   0,  0, 'W', 'A',
                                    'V', 'E', 'f', 'm', 't', ' ', 16, 0, 0,   0};
    auto put = [&](unsigned long v, int bytes) {
      for (int i = 0; i < bytes; ++i) b.push_back((unsigned char)(v >> (8 * i)));
    };
    put(format, 2), put(channels, 2), put(rate, 4), put(rate * channels * bits / 8, 4);
    put(channels * bits / 8, 2), put(bits, 2);
    b.insert(b.end(), {'d', 'a', 't', 'a'});
    put(dataLen, 4);
    b.insert(b.end(), data.begin(), data.end());
    return b;
  };
  std::vector<unsigned char> fmtOnly = wav(1, 1, 16000, 16, {}, 0);
  fmtOnly.resize(fmtOnly.size() - 8);
  // The first file is never written. The last one's data chunk claims more
  // than the file holds, which keeps what is there, and stereo keeps the
  // first channel.
  const struct {
    const char* name;
    std::vector<unsigned char> bytes;
    const char* message;
  } rows[] = {{"missing.wav", {}, "cannot open"},
              {"empty.wav", {}, "not a RIFF/WAVE"},
              {"text.wav", std::vector<unsigned char>(13, 'x'), "not a RIFF/WAVE"},
              {"float.wav", wav(3, 1, 16000, 32, {0, 0, 0, 0}, 4), "not 16-bit PCM"},
              {"8bit.wav", wav(1, 1, 16000, 8, {0, 0}, 2), "not 16-bit PCM"},
              {"rate.wav", wav(1, 1, 96000, 16, {0, 0}, 2), "unsupported sampling rate"},
              {"nodata.wav", fmtOnly, "no data chunk"},
              {"stereo.wav", wav(1, 2, 8000, 16, {1, 0, 9, 9, 0xFF, 0xFF, 9, 9}, 4000), nullptr}};
  for (const auto& r : rows) {
    const std::string p = testing::TempDir() + r.name;
    std::ofstream f;
    if (&r != rows) f.open(p, std::ios::binary);
    // An empty vector's data() may be null, which no write may be given.
    if (!r.bytes.empty())
      f.write(reinterpret_cast<const char*>(r.bytes.data()), long(r.bytes.size()));
    f.close();
    Vsp16s* s = nullptr;
    size_t n = 0;
    int rate = 0;
    char err[256] = "";
    const int st = pipelineReadWav(p.c_str(), &s, &n, &rate, err, sizeof err);
    if (r.message) {
      EXPECT_TRUE(st != 0 && std::string(err).find(r.message) != std::string::npos) << r.name;
      continue;
    }
    ASSERT_EQ(st, 0) << err;
    EXPECT_TRUE(n == 2 && rate == 8000 && s[0] == 1 && s[1] == -1);
    std::free(s);
  }
}

}  // namespace
