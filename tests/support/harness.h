// Shared test machinery: guarded buffers, refusal tables, the allocation
// failure sweep, seeded random data and the vector tiers of this host.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <functional>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

#include "frame/cpu.h"
#include "vspcore_testing.h"
#include "vspsr.h"

namespace vsptest {

// ---- Guarded buffers -------------------------------------------------------
//
// `n` elements of T starting `misalign` bytes past a 64-byte boundary, with
// guard zones on both sides. fill() writes the sentinel byte everywhere;
// untouched() says that no byte changed since, guardsIntact() that nothing
// was written outside the elements.
template <class T>
class Guarded {
 public:
  static constexpr size_t kGuard = 64;
  static constexpr unsigned char kSentinel = 0xA5;

  explicit Guarded(size_t n, size_t misalign = 0)
      : n_(n), raw_(2 * kGuard + n * sizeof(T) + misalign + 64) {
    uintptr_t p = reinterpret_cast<uintptr_t>(raw_.data()) + kGuard;
    p = (p + 63) & ~uintptr_t(63);
    begin_ = reinterpret_cast<unsigned char*>(p) + misalign;
    fill();
  }
  T* data() { return reinterpret_cast<T*>(begin_); }
  const T* data() const { return reinterpret_cast<const T*>(begin_); }
  T& operator[](size_t i) { return data()[i]; }
  const T& operator[](size_t i) const { return data()[i]; }
  size_t size() const { return n_; }

  void fill() { std::memset(raw_.data(), kSentinel, raw_.size()); }
  bool untouched() const {
    for (unsigned char c : raw_)
      if (c != kSentinel) return false;
    return true;
  }
  bool guardsIntact() const {
    const unsigned char* e = begin_ + n_ * sizeof(T);
    for (const unsigned char& c : raw_)
      if ((&c < begin_ || &c >= e) && c != kSentinel) return false;
    return true;
  }

 private:
  size_t n_;
  std::vector<unsigned char> raw_;
  unsigned char* begin_;
};

// ---- Output watch ------------------------------------------------------------
//
// Remembers byte ranges and their contents, to prove that a refused call
// wrote nothing.
class OutputWatch {
 public:
  void watch(const void* p, size_t bytes) { regions_.push_back({p, bytes, {}}); }
  void snapshot() {
    for (auto& r : regions_) {
      const auto* b = static_cast<const unsigned char*>(r.p);
      r.copy.assign(b, b + r.bytes);
    }
  }
  bool unchanged() const {
    for (const auto& r : regions_)
      if (std::memcmp(r.p, r.copy.data(), r.bytes) != 0) return false;
    return true;
  }

 private:
  struct Region {
    const void* p;
    size_t bytes;
    std::vector<unsigned char> copy;
  };
  std::vector<Region> regions_;
};

// ---- Refusal tables ------------------------------------------------------------
//
// A Fixture is default-constructible with valid arguments, registers its
// outputs in a member `OutputWatch out`, and has `VspStatus call()`. Each row
// spoils one or more arguments and names the status expected. The unspoiled
// fixture is checked first, so a table cannot pass by being broken.
template <class Fixture>
struct Refusal {
  std::string what;
  std::function<void(Fixture&)> spoil;
  VspStatus expect;
};

template <class Fixture>
void expectRefusals(const std::vector<Refusal<Fixture>>& table,
                    VspStatus validStatus = vspStatusOk) {
  {
    Fixture f;
    EXPECT_EQ(f.call(), validStatus) << "unspoiled arguments";
  }
  for (const auto& r : table) {
    Fixture f;
    r.spoil(f);
    f.out.snapshot();
    const long live = vspcoreTestLiveBlocks();
    EXPECT_EQ(f.call(), r.expect) << r.what;
    EXPECT_TRUE(f.out.unchanged()) << r.what << ": a refused call wrote an output";
    EXPECT_EQ(vspcoreTestLiveBlocks(), live) << r.what << ": a refused call leaked";
  }
}

// ---- Allocation failure sweep ----------------------------------------------------
//
// Runs `call` with its 1st, 2nd, ... allocation failing, until a run makes
// fewer allocations than the one meant to fail (that run succeeded). Every
// failing run must return vspStatusNoMemory and leave `leaked(n)` blocks
// alive beyond those alive before (zero unless the contract says a failed
// call leaves something behind); `afterFailure` may check outputs. The
// final, successful run's status goes to `onSuccess`, and the number of
// allocation points is returned.
struct SweepResult {
  int allocationPoints = 0;
  VspStatus finalStatus = vspStatusOk;
};

inline SweepResult sweepAllocationFailures(const std::function<VspStatus()>& call,
                                           const std::function<void(int)>& afterFailure = nullptr,
                                           const std::function<long(int)>& leaked = nullptr) {
  SweepResult res;
  for (int n = 1; n < 10000; ++n) {
    const long live = vspcoreTestLiveBlocks();
    const long before = vspcoreTestAllocations();
    vspcoreTestFailAfter(n);
    const VspStatus s = call();
    vspcoreTestFailAfter(0);
    const long made = vspcoreTestAllocations() - before;
    if (made < n) {
      res.allocationPoints = n - 1;
      res.finalStatus = s;
      return res;
    }
    EXPECT_EQ(s, vspStatusNoMemory) << "allocation " << n << " failed";
    const long allowed = leaked ? leaked(n) : 0;
    EXPECT_EQ(vspcoreTestLiveBlocks() - live, allowed) << "allocation " << n << " failed";
    if (afterFailure) afterFailure(n);
  }
  ADD_FAILURE() << "no end to the allocations";
  return res;
}

// ---- Random data ------------------------------------------------------------------
//
// Seeded generators; tests put the seed into a SCOPED_TRACE so that a failure
// says how to reproduce it.
class Rng {
 public:
  explicit Rng(uint64_t seed) : g_(seed) {}
  double uniform(double lo, double hi) {
    return std::uniform_real_distribution<double>(lo, hi)(g_);
  }
  float uniformf(float lo, float hi) { return float(uniform(lo, hi)); }
  int64_t integer(int64_t lo, int64_t hi) {
    return std::uniform_int_distribution<int64_t>(lo, hi)(g_);
  }
  int16_t s16(int lo = -32768, int hi = 32767) { return int16_t(integer(lo, hi)); }
  template <class T, class F>
  void fill(T* p, size_t n, F gen) {
    for (size_t i = 0; i < n; ++i) p[i] = T(gen());
  }

 private:
  std::mt19937_64 g_;
};

inline std::string seedTrace(uint64_t seed) { return "seed " + std::to_string(seed); }

// Lengths where vector tails and prologues break, for a vector width w.
inline std::vector<int> lengthsAround(int w) {
  return {1, 2, 3, 7, w - 1, w, w + 1, 2 * w + 3, 8 * w + 2, 13, 39, 111, 112, 257};
}

// ---- Vector tiers ----------------------------------------------------------------------

inline std::vector<vsp::Tier> hostTiers() {
  std::vector<vsp::Tier> t{vsp::Tier::Base};
  if (vsp::hostTier() >= vsp::Tier::Avx2) t.push_back(vsp::Tier::Avx2);
  if (vsp::hostTier() >= vsp::Tier::Avx512) t.push_back(vsp::Tier::Avx512);
  return t;
}
inline const char* tierName(vsp::Tier t) {
  return t == vsp::Tier::Base ? "base" : t == vsp::Tier::Avx2 ? "avx2" : "avx512";
}

// Bit patterns, for exact comparisons of floating results.
template <class F, class = std::enable_if_t<std::is_floating_point_v<F>>>
auto bits(F f) {
  std::conditional_t<sizeof(F) == 4, uint32_t, uint64_t> u;
  std::memcpy(&u, &f, sizeof u);
  return u;
}

}  // namespace vsptest
