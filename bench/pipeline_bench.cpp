// The demo's whole road, samples to scores, on the built-in two-second
// utterance at 16 kHz: speed as a multiple of real time, and each stage's
// share of the time (medians over the runs of one benchmark call).
#include <benchmark/benchmark.h>

#include <algorithm>
#include <vector>

#include "pipeline.h"

namespace {

void BM_DemoPipeline_16kHz(benchmark::State& st) {
  PipelineConfig cfg;
  pipelineConfigure(16000, &cfg);
  std::vector<Vsp16s> x(32000);
  pipelineSynthesize(x.data(), x.size(), 16000);
  std::vector<PipelineTimes> runs;
  for (auto _ : st) {
    PipelineResult r;
    if (pipelineRun(&cfg, x.data(), x.size(), &r) != vspStatusOk) {
      st.SkipWithError("pipeline failed");
      break;
    }
    runs.push_back(r.times);
    pipelineRelease(&r);
  }
  if (runs.empty()) return;
  auto median = [&](double PipelineTimes::*f) {
    std::vector<double> v;
    for (const PipelineTimes& t : runs) v.push_back(t.*f);
    std::nth_element(v.begin(), v.begin() + v.size() / 2, v.end());
    return v[v.size() / 2];
  };
  const double total = median(&PipelineTimes::total);
  st.counters["xRealTime"] = 2.0 / total;
  st.counters["setup%"] = 100 * median(&PipelineTimes::setup) / total;
  st.counters["framing%"] = 100 * median(&PipelineTimes::framing) / total;
  st.counters["fbank%"] = 100 * median(&PipelineTimes::filterBank) / total;
  st.counters["log%"] = 100 * median(&PipelineTimes::logarithm) / total;
  st.counters["cepstra%"] = 100 * median(&PipelineTimes::cepstra) / total;
  st.counters["deltas%"] = 100 * median(&PipelineTimes::deltas) / total;
  st.counters["scoring%"] = 100 * median(&PipelineTimes::scoring) / total;
}
BENCHMARK(BM_DemoPipeline_16kHz)->Unit(benchmark::kMillisecond);

}  // namespace
