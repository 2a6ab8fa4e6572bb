/*
 * vspsr.h - numeric primitives for speech recognition.
 *
 * The one public header of the library: element types, status values,
 * hints, the version record, the opaque object types and every exported
 * function. Valid C99 and C++.
 *
 * Conventions shared by every export:
 *  - every function except vspsrGetLibVersion returns a VspStatus: zero for
 *    success, negative when the call was refused, positive for a warning
 *    (the function ran; its outputs hold what the function documents);
 *  - arguments are checked before any output is touched, and a refused call
 *    leaves every output as it was;
 *  - "_D2" matrices are one block with a row step counted in elements,
 *    "_D2L" matrices are arrays of row pointers;
 *  - fixed-point integers hold V * 2^(-scaleFactor).
 */
#ifndef VSPSR_H
#define VSPSR_H

#include <stddef.h>
#include <stdint.h>

#if defined(VSPSR_BUILDING)
#define VSP_API __attribute__((visibility("default")))
#else
#define VSP_API
#endif

#if defined(VSPCORE_BUILDING)
#define VSPCORE_API __attribute__((visibility("default")))
#else
#define VSPCORE_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* ---------------------------------------------------------------------------
 * Element types
 * ------------------------------------------------------------------------- */

typedef uint8_t Vsp8u;
typedef uint16_t Vsp16u;
typedef int16_t Vsp16s;
typedef int32_t Vsp32s;
typedef int64_t Vsp64s;
typedef float Vsp32f;
typedef double Vsp64f;

/* ---------------------------------------------------------------------------
 * Status values
 * ------------------------------------------------------------------------- */

typedef Vsp32s VspStatus;

enum {
  vspStatusOk = 0,

  vspWarningDegenerateInput = 4,
  vspWarningDivideByZero = 6,
  vspWarningZeroInLog = 7,
  vspWarningNegativeInLog = 8,
  vspWarningAllFloored = 11,
  vspWarningZeroOccupancy = 16,
  vspWarningCodebookReduced = 31,

  vspStatusInnerCallFailed = -2,
  vspStatusOutOfRange = -5,
  vspStatusBadSize = -6,
  vspStatusBadValue = -7,
  vspStatusNullPointer = -8,
  vspStatusNoMemory = -9,
  vspStatusZeroDivisor = -10,
  vspStatusBadTransformOrder = -15,
  vspStatusBadTransformFlag = -16,
  vspStatusBadContext = -17,
  vspStatusBadStep = -37,
  vspStatusNoConvergence = -65,
  vspStatusBadCodebookHint = -66,
  vspStatusNegativeOccupancy = -67,
  vspStatusFilterBankNotReady = -69,
  vspStatusBadFilterBankFlag = -70,
  vspStatusBadBandEdges = -71,
  vspStatusNoLspRoots = -114,
  vspStatusBadLspOrder = -115,
  vspStatusUnstableFilter = -116,
  vspStatusNonPositiveResidual = -117,
  vspStatusBadSpan = -119,
  vspStatusBadCodebookObject = -9999
};

/* ---------------------------------------------------------------------------
 * Hints and flag words
 * ------------------------------------------------------------------------- */

/* Selects a speed or accuracy path of the log-domain functions. */
typedef Vsp32s VspHint;
enum { vspHintDefault = 0, vspHintFast = 1, vspHintAccurate = 2 };

/* Filter bank flag bits. */
enum { vspFBankMelWeights = 1, vspFBankBinWeights = 2, vspFBankTransformInput = 4 };

/* Delta feature stream marks. */
enum { vspDeltaBegin = 1, vspDeltaEnd = 2 };

/* Codebook construction. */
typedef Vsp32s VspCodebookHint;
enum {
  vspCdbkHintFull = 1,
  vspCdbkHintTreeDistortion = 2,
  vspCdbkHintTreePopulation = 3
};

/* Voice activity decisions. */
enum { vspVADSilence = 0, vspVADSpeech = 1, vspVADUndecided = 2 };

/* ---------------------------------------------------------------------------
 * The version record
 * ------------------------------------------------------------------------- */

typedef struct VspLibraryVersion {
  Vsp32s major;
  Vsp32s minor;
  Vsp32s majorBuild;
  Vsp32s build;
  char targetTag[4];
  const char* name;
  const char* versionText;
  const char* buildDate;
} VspLibraryVersion;

/* ---------------------------------------------------------------------------
 * Opaque objects: callers hold them through pointers, or reserve the byte
 * count that the family's GetSize reports.
 * ------------------------------------------------------------------------- */

typedef struct VspFBankState_32f VspFBankState_32f;
typedef struct VspFBankState_16s VspFBankState_16s;
typedef struct VspFBankState_32s VspFBankState_32s;
typedef struct VspDCTLifterState_32f VspDCTLifterState_32f;
typedef struct VspDCTLifterState_16s VspDCTLifterState_16s;
typedef struct VspResamplingState VspResamplingState;
typedef struct VspResamplingFixedState VspResamplingFixedState;
typedef struct VspCodebook VspCodebook;
typedef struct VspBlockDMatrix VspBlockDMatrix;
typedef struct VspVADAuroraState VspVADAuroraState;
typedef struct VspMCRAState VspMCRAState;

/* ---------------------------------------------------------------------------
 * Memory (provided by the sibling library vspcore)
 * ------------------------------------------------------------------------- */

/* A block of at least `size` bytes aligned to 64 bytes, or null. */
VSPCORE_API void* vspMalloc(size_t size);
/* Releases a block from vspMalloc; null is ignored. */
VSPCORE_API void vspFree(void* block);

/* ===========================================================================
 * Library frame
 * ========================================================================= */

/* The library's one constant version record. Never fails, never allocates. */
VSP_API const VspLibraryVersion* vspsrGetLibVersion(void);

/* ===========================================================================
 * Acoustic scoring
 * ========================================================================= */

/* ---- Log-domain arithmetic ---------------------------------------------- */

/* srcDst[i] = ln(exp(src[i]) + exp(srcDst[i])). vspHintDefault and
 * vspHintAccurate take the polynomial path, vspHintFast the table path (the
 * 64f member has only the first); any other hint does nothing. Results are
 * floored at -4.5e6 (32f) or -1e10 (64f); the integer members hold
 * V * 2^(-scaleFactor) and have no floor. */
VSP_API VspStatus vspsLogAdd_32f(const Vsp32f* src, Vsp32f* srcDst, Vsp32s len, VspHint hint);
VSP_API VspStatus vspsLogAdd_64f(const Vsp64f* src, Vsp64f* srcDst, Vsp32s len, VspHint hint);
VSP_API VspStatus vspsLogAdd_16s_Sfs(const Vsp16s* src, Vsp16s* srcDst, Vsp32s len,
                                     Vsp32s scaleFactor, VspHint hint);
VSP_API VspStatus vspsLogAdd_32s_Sfs(const Vsp32s* src, Vsp32s* srcDst, Vsp32s len,
                                     Vsp32s scaleFactor, VspHint hint);
/* srcDst[i] = ln(exp(src[i]) - exp(srcDst[i])); vspStatusBadValue, with
 * nothing written, unless every srcDst[i] is below src[i]. */
VSP_API VspStatus vspsLogSub_32f(const Vsp32f* src, Vsp32f* srcDst, Vsp32s len);
VSP_API VspStatus vspsLogSub_64f(const Vsp64f* src, Vsp64f* srcDst, Vsp32s len);
VSP_API VspStatus vspsLogSub_16s_Sfs(const Vsp16s* src, Vsp16s* srcDst, Vsp32s len,
                                     Vsp32s scaleFactor);
VSP_API VspStatus vspsLogSub_32s_Sfs(const Vsp32s* src, Vsp32s* srcDst, Vsp32s len,
                                     Vsp32s scaleFactor);
/* dst[0] = the log-sum of src[0 .. len-1], folded from the left. */
VSP_API VspStatus vspsLogSum_32f(const Vsp32f* src, Vsp32f* dst, Vsp32s len);
VSP_API VspStatus vspsLogSum_64f(const Vsp64f* src, Vsp64f* dst, Vsp32s len);
VSP_API VspStatus vspsLogSum_16s_Sfs(const Vsp16s* src, Vsp16s* dst, Vsp32s len,
                                     Vsp32s scaleFactor);
VSP_API VspStatus vspsLogSum_32s_Sfs(const Vsp32s* src, Vsp32s* dst, Vsp32s len,
                                     Vsp32s scaleFactor);

/* ---- Single-observation Gaussian evaluation ---------------------------- */

VSP_API VspStatus vspsLogGaussSingle_32f(const Vsp32f* src, const Vsp32f* mean, const Vsp32f* var,
                                         Vsp32s len, Vsp32f* dst, Vsp32f gConst);
VSP_API VspStatus vspsLogGaussSingle_32f64f(const Vsp32f* src, const Vsp32f* mean,
                                            const Vsp32f* var, Vsp32s len, Vsp64f* dst,
                                            Vsp64f gConst);
VSP_API VspStatus vspsLogGaussSingle_64f(const Vsp64f* src, const Vsp64f* mean, const Vsp64f* var,
                                         Vsp32s len, Vsp64f* dst, Vsp64f gConst);
VSP_API VspStatus vspsLogGaussSingle_16s32s_Sfs(const Vsp16s* src, const Vsp16s* mean,
                                                const Vsp16s* var, Vsp32s len, Vsp32s* dst,
                                                Vsp32s gConst, Vsp32s scaleFactor);
VSP_API VspStatus vspsLogGaussSingle_Low_16s32s_Sfs(const Vsp16s* src, const Vsp16s* mean,
                                                    const Vsp16s* var, Vsp32s len, Vsp32s* dst,
                                                    Vsp32s gConst, Vsp32s scaleFactor);
VSP_API VspStatus vspsLogGaussSingle_Scaled_16s32f(const Vsp16s* src, const Vsp16s* mean,
                                                   const Vsp16s* var, Vsp32s len, Vsp32f* dst,
                                                   Vsp32f gConst, Vsp32s scaleFactor);
VSP_API VspStatus vspsLogGaussSingle_LowScaled_16s32f(const Vsp16s* src, const Vsp16s* mean,
                                                      const Vsp16s* var, Vsp32s len, Vsp32f* dst,
                                                      Vsp32f gConst, Vsp32s scaleFactor);
VSP_API VspStatus vspsLogGaussSingle_IdVar_32f(const Vsp32f* src, const Vsp32f* mean, Vsp32s len,
                                               Vsp32f* dst, Vsp32f gConst);
VSP_API VspStatus vspsLogGaussSingle_IdVar_32f64f(const Vsp32f* src, const Vsp32f* mean,
                                                  Vsp32s len, Vsp64f* dst, Vsp64f gConst);
VSP_API VspStatus vspsLogGaussSingle_IdVar_64f(const Vsp64f* src, const Vsp64f* mean, Vsp32s len,
                                               Vsp64f* dst, Vsp64f gConst);
VSP_API VspStatus vspsLogGaussSingle_IdVar_16s32s_Sfs(const Vsp16s* src, const Vsp16s* mean,
                                                      Vsp32s len, Vsp32s* dst, Vsp32s gConst,
                                                      Vsp32s scaleFactor);
VSP_API VspStatus vspsLogGaussSingle_IdVarLow_16s32s_Sfs(const Vsp16s* src, const Vsp16s* mean,
                                                         Vsp32s len, Vsp32s* dst, Vsp32s gConst,
                                                         Vsp32s scaleFactor);
VSP_API VspStatus vspsLogGaussSingle_IdVarScaled_16s32f(const Vsp16s* src, const Vsp16s* mean,
                                                        Vsp32s len, Vsp32f* dst, Vsp32f gConst,
                                                        Vsp32s scaleFactor);
VSP_API VspStatus vspsLogGaussSingle_IdVarLowScaled_16s32f(const Vsp16s* src, const Vsp16s* mean,
                                                           Vsp32s len, Vsp32f* dst, Vsp32f gConst,
                                                           Vsp32s scaleFactor);
VSP_API VspStatus vspsLogGaussSingle_DirectVar_32f(const Vsp32f* src, const Vsp32f* mean,
                                                   const Vsp32f* var, Vsp32s len, Vsp32f* dst,
                                                   Vsp32f gConst);
VSP_API VspStatus vspsLogGaussSingle_DirectVar_32f64f(const Vsp32f* src, const Vsp32f* mean,
                                                      const Vsp32f* var, Vsp32s len, Vsp64f* dst,
                                                      Vsp64f gConst);
VSP_API VspStatus vspsLogGaussSingle_DirectVar_64f(const Vsp64f* src, const Vsp64f* mean,
                                                   const Vsp64f* var, Vsp32s len, Vsp64f* dst,
                                                   Vsp64f gConst);
VSP_API VspStatus vspsLogGaussSingle_DirectVar_16s32s_Sfs(const Vsp16s* src, const Vsp16s* mean,
                                                          const Vsp16s* var, Vsp32s len,
                                                          Vsp32s* dst, Vsp32s gConst,
                                                          Vsp32s scaleFactor);
VSP_API VspStatus vspsLogGaussSingle_DirectVarScaled_16s32f(const Vsp16s* src, const Vsp16s* mean,
                                                            const Vsp16s* var, Vsp32s len,
                                                            Vsp32f* dst, Vsp32f gConst,
                                                            Vsp32s scaleFactor);
VSP_API VspStatus vspsLogGaussSingle_BlockDVar_32f(const Vsp32f* src, const Vsp32f* mean,
                                                   const VspBlockDMatrix* blockInvCov, Vsp32s len,
                                                   Vsp32f* dst, Vsp32f gConst);
VSP_API VspStatus vspsLogGaussSingle_BlockDVar_32f64f(const Vsp32f* src, const Vsp32f* mean,
                                                      const VspBlockDMatrix* blockInvCov,
                                                      Vsp32s len, Vsp64f* dst, Vsp64f gConst);
VSP_API VspStatus vspsLogGaussSingle_BlockDVar_64f(const Vsp64f* src, const Vsp64f* mean,
                                                   const VspBlockDMatrix* blockInvCov, Vsp32s len,
                                                   Vsp64f* dst, Vsp64f gConst);
VSP_API VspStatus vspsLogGaussSingle_BlockDVar_16s32s_Sfs(const Vsp16s* src, const Vsp16s* mean,
                                                          const VspBlockDMatrix* blockInvCov,
                                                          Vsp32s len, Vsp32s* dst, Vsp32s gConst,
                                                          Vsp32s scaleFactor);
VSP_API VspStatus vspsLogGaussSingle_BlockDVarScaled_16s32f(const Vsp16s* src, const Vsp16s* mean,
                                                            const VspBlockDMatrix* blockInvCov,
                                                            Vsp32s len, Vsp32f* dst,
                                                            Vsp32f gConst, Vsp32s scaleFactor);

VSP_API VspStatus vspsMahDistSingle_32f(const Vsp32f* src, const Vsp32f* mean, const Vsp32f* var,
                                        Vsp32s len, Vsp32f* dst);
VSP_API VspStatus vspsMahDistSingle_32f64f(const Vsp32f* src, const Vsp32f* mean,
                                           const Vsp32f* var, Vsp32s len, Vsp64f* dst);
VSP_API VspStatus vspsMahDistSingle_64f(const Vsp64f* src, const Vsp64f* mean, const Vsp64f* var,
                                        Vsp32s len, Vsp64f* dst);
VSP_API VspStatus vspsMahDistSingle_16s32f(const Vsp16s* src, const Vsp16s* mean,
                                           const Vsp16s* var, Vsp32s len, Vsp32f* dst);
VSP_API VspStatus vspsMahDistSingle_16s32s_Sfs(const Vsp16s* src, const Vsp16s* mean,
                                               const Vsp16s* var, Vsp32s len, Vsp32s* dst,
                                               Vsp32s scaleFactor);

/* ---- Frame-block Gaussian evaluation ----------------------------------- */

/* Scores of `height` frames (rows of src) against one Gaussian: dst[i] is
 * written. */
VSP_API VspStatus vspsLogGauss_32f_D2(const Vsp32f* src, Vsp32s step, const Vsp32f* mean,
                                      const Vsp32f* var, Vsp32s width, Vsp32f* dst, Vsp32s height,
                                      Vsp32f gConst);
VSP_API VspStatus vspsLogGauss_32f_D2L(const Vsp32f* const* src, const Vsp32f* mean,
                                       const Vsp32f* var, Vsp32s width, Vsp32f* dst, Vsp32s height,
                                       Vsp32f gConst);
VSP_API VspStatus vspsLogGauss_64f_D2(const Vsp64f* src, Vsp32s step, const Vsp64f* mean,
                                      const Vsp64f* var, Vsp32s width, Vsp64f* dst, Vsp32s height,
                                      Vsp64f gConst);
VSP_API VspStatus vspsLogGauss_64f_D2L(const Vsp64f* const* src, const Vsp64f* mean,
                                       const Vsp64f* var, Vsp32s width, Vsp64f* dst, Vsp32s height,
                                       Vsp64f gConst);
VSP_API VspStatus vspsLogGauss_16s32s_D2Sfs(const Vsp16s* src, Vsp32s step, const Vsp16s* mean,
                                            const Vsp16s* var, Vsp32s width, Vsp32s* dst,
                                            Vsp32s height, Vsp32s gConst, Vsp32s scaleFactor);
VSP_API VspStatus vspsLogGauss_16s32s_D2LSfs(const Vsp16s* const* src, const Vsp16s* mean,
                                             const Vsp16s* var, Vsp32s width, Vsp32s* dst,
                                             Vsp32s height, Vsp32s gConst, Vsp32s scaleFactor);
VSP_API VspStatus vspsLogGauss_Low_16s32s_D2Sfs(const Vsp16s* src, Vsp32s step, const Vsp16s* mean,
                                                const Vsp16s* var, Vsp32s width, Vsp32s* dst,
                                                Vsp32s height, Vsp32s gConst, Vsp32s scaleFactor);
VSP_API VspStatus vspsLogGauss_Low_16s32s_D2LSfs(const Vsp16s* const* src, const Vsp16s* mean,
                                                 const Vsp16s* var, Vsp32s width, Vsp32s* dst,
                                                 Vsp32s height, Vsp32s gConst, Vsp32s scaleFactor);
VSP_API VspStatus vspsLogGauss_Scaled_16s32f_D2(const Vsp16s* src, Vsp32s step, const Vsp16s* mean,
                                                const Vsp16s* var, Vsp32s width, Vsp32f* dst,
                                                Vsp32s height, Vsp32f gConst, Vsp32s scaleFactor);
VSP_API VspStatus vspsLogGauss_Scaled_16s32f_D2L(const Vsp16s* const* src, const Vsp16s* mean,
                                                 const Vsp16s* var, Vsp32s width, Vsp32f* dst,
                                                 Vsp32s height, Vsp32f gConst, Vsp32s scaleFactor);
VSP_API VspStatus vspsLogGauss_LowScaled_16s32f_D2(const Vsp16s* src, Vsp32s step,
                                                   const Vsp16s* mean, const Vsp16s* var,
                                                   Vsp32s width, Vsp32f* dst, Vsp32s height,
                                                   Vsp32f gConst, Vsp32s scaleFactor);
VSP_API VspStatus vspsLogGauss_LowScaled_16s32f_D2L(const Vsp16s* const* src, const Vsp16s* mean,
                                                    const Vsp16s* var, Vsp32s width, Vsp32f* dst,
                                                    Vsp32s height, Vsp32f gConst,
                                                    Vsp32s scaleFactor);
VSP_API VspStatus vspsLogGauss_IdVar_32f_D2(const Vsp32f* src, Vsp32s step, const Vsp32f* mean,
                                            Vsp32s width, Vsp32f* dst, Vsp32s height,
                                            Vsp32f gConst);
VSP_API VspStatus vspsLogGauss_IdVar_32f_D2L(const Vsp32f* const* src, const Vsp32f* mean,
                                             Vsp32s width, Vsp32f* dst, Vsp32s height,
                                             Vsp32f gConst);
VSP_API VspStatus vspsLogGauss_IdVar_64f_D2(const Vsp64f* src, Vsp32s step, const Vsp64f* mean,
                                            Vsp32s width, Vsp64f* dst, Vsp32s height,
                                            Vsp64f gConst);
VSP_API VspStatus vspsLogGauss_IdVar_64f_D2L(const Vsp64f* const* src, const Vsp64f* mean,
                                             Vsp32s width, Vsp64f* dst, Vsp32s height,
                                             Vsp64f gConst);
VSP_API VspStatus vspsLogGauss_IdVar_16s32s_D2Sfs(const Vsp16s* src, Vsp32s step,
                                                  const Vsp16s* mean, Vsp32s width, Vsp32s* dst,
                                                  Vsp32s height, Vsp32s gConst, Vsp32s scaleFactor);
VSP_API VspStatus vspsLogGauss_IdVar_16s32s_D2LSfs(const Vsp16s* const* src, const Vsp16s* mean,
                                                   Vsp32s width, Vsp32s* dst, Vsp32s height,
                                                   Vsp32s gConst, Vsp32s scaleFactor);
VSP_API VspStatus vspsLogGauss_IdVarLow_16s32s_D2Sfs(const Vsp16s* src, Vsp32s step,
                                                     const Vsp16s* mean, Vsp32s width, Vsp32s* dst,
                                                     Vsp32s height, Vsp32s gConst,
                                                     Vsp32s scaleFactor);
VSP_API VspStatus vspsLogGauss_IdVarLow_16s32s_D2LSfs(const Vsp16s* const* src, const Vsp16s* mean,
                                                      Vsp32s width, Vsp32s* dst, Vsp32s height,
                                                      Vsp32s gConst, Vsp32s scaleFactor);
VSP_API VspStatus vspsLogGauss_IdVarScaled_16s32f_D2(const Vsp16s* src, Vsp32s step,
                                                     const Vsp16s* mean, Vsp32s width, Vsp32f* dst,
                                                     Vsp32s height, Vsp32f gConst,
                                                     Vsp32s scaleFactor);
VSP_API VspStatus vspsLogGauss_IdVarScaled_16s32f_D2L(const Vsp16s* const* src, const Vsp16s* mean,
                                                      Vsp32s width, Vsp32f* dst, Vsp32s height,
                                                      Vsp32f gConst, Vsp32s scaleFactor);
VSP_API VspStatus vspsLogGauss_IdVarLowScaled_16s32f_D2(const Vsp16s* src, Vsp32s step,
                                                        const Vsp16s* mean, Vsp32s width,
                                                        Vsp32f* dst, Vsp32s height, Vsp32f gConst,
                                                        Vsp32s scaleFactor);
VSP_API VspStatus vspsLogGauss_IdVarLowScaled_16s32f_D2L(const Vsp16s* const* src,
                                                         const Vsp16s* mean, Vsp32s width,
                                                         Vsp32f* dst, Vsp32s height, Vsp32f gConst,
                                                         Vsp32s scaleFactor);

/* As vspsLogGauss_*, keeping in dst[i] the larger of the score and dst[i]. */
VSP_API VspStatus vspsLogGaussMax_32f_D2(const Vsp32f* src, Vsp32s step, const Vsp32f* mean,
                                         const Vsp32f* var, Vsp32s width, Vsp32f* dst,
                                         Vsp32s height, Vsp32f gConst);
VSP_API VspStatus vspsLogGaussMax_32f_D2L(const Vsp32f* const* src, const Vsp32f* mean,
                                          const Vsp32f* var, Vsp32s width, Vsp32f* dst,
                                          Vsp32s height, Vsp32f gConst);
VSP_API VspStatus vspsLogGaussMax_64f_D2(const Vsp64f* src, Vsp32s step, const Vsp64f* mean,
                                         const Vsp64f* var, Vsp32s width, Vsp64f* dst,
                                         Vsp32s height, Vsp64f gConst);
VSP_API VspStatus vspsLogGaussMax_64f_D2L(const Vsp64f* const* src, const Vsp64f* mean,
                                          const Vsp64f* var, Vsp32s width, Vsp64f* dst,
                                          Vsp32s height, Vsp64f gConst);
VSP_API VspStatus vspsLogGaussMax_16s32s_D2Sfs(const Vsp16s* src, Vsp32s step, const Vsp16s* mean,
                                               const Vsp16s* var, Vsp32s width, Vsp32s* dst,
                                               Vsp32s height, Vsp32s gConst, Vsp32s scaleFactor);
VSP_API VspStatus vspsLogGaussMax_16s32s_D2LSfs(const Vsp16s* const* src, const Vsp16s* mean,
                                                const Vsp16s* var, Vsp32s width, Vsp32s* dst,
                                                Vsp32s height, Vsp32s gConst, Vsp32s scaleFactor);
VSP_API VspStatus vspsLogGaussMax_Low_16s32s_D2Sfs(const Vsp16s* src, Vsp32s step,
                                                   const Vsp16s* mean, const Vsp16s* var,
                                                   Vsp32s width, Vsp32s* dst, Vsp32s height,
                                                   Vsp32s gConst, Vsp32s scaleFactor);
VSP_API VspStatus vspsLogGaussMax_Low_16s32s_D2LSfs(const Vsp16s* const* src, const Vsp16s* mean,
                                                    const Vsp16s* var, Vsp32s width, Vsp32s* dst,
                                                    Vsp32s height, Vsp32s gConst,
                                                    Vsp32s scaleFactor);
VSP_API VspStatus vspsLogGaussMax_Scaled_16s32f_D2(const Vsp16s* src, Vsp32s step,
                                                   const Vsp16s* mean, const Vsp16s* var,
                                                   Vsp32s width, Vsp32f* dst, Vsp32s height,
                                                   Vsp32f gConst, Vsp32s scaleFactor);
VSP_API VspStatus vspsLogGaussMax_Scaled_16s32f_D2L(const Vsp16s* const* src, const Vsp16s* mean,
                                                    const Vsp16s* var, Vsp32s width, Vsp32f* dst,
                                                    Vsp32s height, Vsp32f gConst,
                                                    Vsp32s scaleFactor);
VSP_API VspStatus vspsLogGaussMax_LowScaled_16s32f_D2(const Vsp16s* src, Vsp32s step,
                                                      const Vsp16s* mean, const Vsp16s* var,
                                                      Vsp32s width, Vsp32f* dst, Vsp32s height,
                                                      Vsp32f gConst, Vsp32s scaleFactor);
VSP_API VspStatus vspsLogGaussMax_LowScaled_16s32f_D2L(const Vsp16s* const* src, const Vsp16s* mean,
                                                       const Vsp16s* var, Vsp32s width, Vsp32f* dst,
                                                       Vsp32s height, Vsp32f gConst,
                                                       Vsp32s scaleFactor);
VSP_API VspStatus vspsLogGaussMax_IdVar_32f_D2(const Vsp32f* src, Vsp32s step, const Vsp32f* mean,
                                               Vsp32s width, Vsp32f* dst, Vsp32s height,
                                               Vsp32f gConst);
VSP_API VspStatus vspsLogGaussMax_IdVar_32f_D2L(const Vsp32f* const* src, const Vsp32f* mean,
                                                Vsp32s width, Vsp32f* dst, Vsp32s height,
                                                Vsp32f gConst);
VSP_API VspStatus vspsLogGaussMax_IdVar_64f_D2(const Vsp64f* src, Vsp32s step, const Vsp64f* mean,
                                               Vsp32s width, Vsp64f* dst, Vsp32s height,
                                               Vsp64f gConst);
VSP_API VspStatus vspsLogGaussMax_IdVar_64f_D2L(const Vsp64f* const* src, const Vsp64f* mean,
                                                Vsp32s width, Vsp64f* dst, Vsp32s height,
                                                Vsp64f gConst);
VSP_API VspStatus vspsLogGaussMax_IdVar_16s32s_D2Sfs(const Vsp16s* src, Vsp32s step,
                                                     const Vsp16s* mean, Vsp32s width, Vsp32s* dst,
                                                     Vsp32s height, Vsp32s gConst,
                                                     Vsp32s scaleFactor);
VSP_API VspStatus vspsLogGaussMax_IdVar_16s32s_D2LSfs(const Vsp16s* const* src, const Vsp16s* mean,
                                                      Vsp32s width, Vsp32s* dst, Vsp32s height,
                                                      Vsp32s gConst, Vsp32s scaleFactor);
VSP_API VspStatus vspsLogGaussMax_IdVarLow_16s32s_D2Sfs(const Vsp16s* src, Vsp32s step,
                                                        const Vsp16s* mean, Vsp32s width,
                                                        Vsp32s* dst, Vsp32s height, Vsp32s gConst,
                                                        Vsp32s scaleFactor);
VSP_API VspStatus vspsLogGaussMax_IdVarLow_16s32s_D2LSfs(const Vsp16s* const* src,
                                                         const Vsp16s* mean, Vsp32s width,
                                                         Vsp32s* dst, Vsp32s height, Vsp32s gConst,
                                                         Vsp32s scaleFactor);
VSP_API VspStatus vspsLogGaussMax_IdVarScaled_16s32f_D2(const Vsp16s* src, Vsp32s step,
                                                        const Vsp16s* mean, Vsp32s width,
                                                        Vsp32f* dst, Vsp32s height, Vsp32f gConst,
                                                        Vsp32s scaleFactor);
VSP_API VspStatus vspsLogGaussMax_IdVarScaled_16s32f_D2L(const Vsp16s* const* src,
                                                         const Vsp16s* mean, Vsp32s width,
                                                         Vsp32f* dst, Vsp32s height, Vsp32f gConst,
                                                         Vsp32s scaleFactor);
VSP_API VspStatus vspsLogGaussMax_IdVarLowScaled_16s32f_D2(const Vsp16s* src, Vsp32s step,
                                                           const Vsp16s* mean, Vsp32s width,
                                                           Vsp32f* dst, Vsp32s height,
                                                           Vsp32f gConst, Vsp32s scaleFactor);
VSP_API VspStatus vspsLogGaussMax_IdVarLowScaled_16s32f_D2L(const Vsp16s* const* src,
                                                            const Vsp16s* mean, Vsp32s width,
                                                            Vsp32f* dst, Vsp32s height,
                                                            Vsp32f gConst, Vsp32s scaleFactor);

/* As vspsLogGauss_*, log-adding each score into dst[i]. */
VSP_API VspStatus vspsLogGaussAdd_32f_D2(const Vsp32f* src, Vsp32s step, const Vsp32f* mean,
                                         const Vsp32f* var, Vsp32s width, Vsp32f* dst,
                                         Vsp32s height, Vsp32f gConst);
VSP_API VspStatus vspsLogGaussAdd_32f_D2L(const Vsp32f* const* src, const Vsp32f* mean,
                                          const Vsp32f* var, Vsp32s width, Vsp32f* dst,
                                          Vsp32s height, Vsp32f gConst);
VSP_API VspStatus vspsLogGaussAdd_64f_D2(const Vsp64f* src, Vsp32s step, const Vsp64f* mean,
                                         const Vsp64f* var, Vsp32s width, Vsp64f* dst,
                                         Vsp32s height, Vsp64f gConst);
VSP_API VspStatus vspsLogGaussAdd_64f_D2L(const Vsp64f* const* src, const Vsp64f* mean,
                                          const Vsp64f* var, Vsp32s width, Vsp64f* dst,
                                          Vsp32s height, Vsp64f gConst);
VSP_API VspStatus vspsLogGaussAdd_Scaled_16s32f_D2(const Vsp16s* src, Vsp32s step,
                                                   const Vsp16s* mean, const Vsp16s* var,
                                                   Vsp32s width, Vsp32f* dst, Vsp32s height,
                                                   Vsp32f gConst, Vsp32s scaleFactor);
VSP_API VspStatus vspsLogGaussAdd_Scaled_16s32f_D2L(const Vsp16s* const* src, const Vsp16s* mean,
                                                    const Vsp16s* var, Vsp32s width, Vsp32f* dst,
                                                    Vsp32s height, Vsp32f gConst,
                                                    Vsp32s scaleFactor);
VSP_API VspStatus vspsLogGaussAdd_LowScaled_16s32f_D2(const Vsp16s* src, Vsp32s step,
                                                      const Vsp16s* mean, const Vsp16s* var,
                                                      Vsp32s width, Vsp32f* dst, Vsp32s height,
                                                      Vsp32f gConst, Vsp32s scaleFactor);
VSP_API VspStatus vspsLogGaussAdd_LowScaled_16s32f_D2L(const Vsp16s* const* src, const Vsp16s* mean,
                                                       const Vsp16s* var, Vsp32s width, Vsp32f* dst,
                                                       Vsp32s height, Vsp32f gConst,
                                                       Vsp32s scaleFactor);
VSP_API VspStatus vspsLogGaussAdd_IdVar_32f_D2(const Vsp32f* src, Vsp32s step, const Vsp32f* mean,
                                               Vsp32s width, Vsp32f* dst, Vsp32s height,
                                               Vsp32f gConst);
VSP_API VspStatus vspsLogGaussAdd_IdVar_32f_D2L(const Vsp32f* const* src, const Vsp32f* mean,
                                                Vsp32s width, Vsp32f* dst, Vsp32s height,
                                                Vsp32f gConst);
VSP_API VspStatus vspsLogGaussAdd_IdVar_64f_D2(const Vsp64f* src, Vsp32s step, const Vsp64f* mean,
                                               Vsp32s width, Vsp64f* dst, Vsp32s height,
                                               Vsp64f gConst);
VSP_API VspStatus vspsLogGaussAdd_IdVar_64f_D2L(const Vsp64f* const* src, const Vsp64f* mean,
                                                Vsp32s width, Vsp64f* dst, Vsp32s height,
                                                Vsp64f gConst);
VSP_API VspStatus vspsLogGaussAdd_IdVarScaled_16s32f_D2(const Vsp16s* src, Vsp32s step,
                                                        const Vsp16s* mean, Vsp32s width,
                                                        Vsp32f* dst, Vsp32s height, Vsp32f gConst,
                                                        Vsp32s scaleFactor);
VSP_API VspStatus vspsLogGaussAdd_IdVarScaled_16s32f_D2L(const Vsp16s* const* src,
                                                         const Vsp16s* mean, Vsp32s width,
                                                         Vsp32f* dst, Vsp32s height, Vsp32f gConst,
                                                         Vsp32s scaleFactor);
VSP_API VspStatus vspsLogGaussAdd_IdVarLowScaled_16s32f_D2(const Vsp16s* src, Vsp32s step,
                                                           const Vsp16s* mean, Vsp32s width,
                                                           Vsp32f* dst, Vsp32s height,
                                                           Vsp32f gConst, Vsp32s scaleFactor);
VSP_API VspStatus vspsLogGaussAdd_IdVarLowScaled_16s32f_D2L(const Vsp16s* const* src,
                                                            const Vsp16s* mean, Vsp32s width,
                                                            Vsp32f* dst, Vsp32s height,
                                                            Vsp32f gConst, Vsp32s scaleFactor);

/* ---- Multi-mixture evaluation ------------------------------------------- */

/* ---- Mixture scoring ---------------------------------------------------- */

/* The log likelihood of src under a mixture of `count` Gaussians (rows of
 * means and vars, constants with the weights folded in), written to dst[0]. */
VSP_API VspStatus vspsLogGaussMixture_32f_D2(const Vsp32f* src, const Vsp32f* means,
                                             const Vsp32f* vars, Vsp32s count, Vsp32s step,
                                             Vsp32s width, const Vsp32f* gConsts, Vsp32f* dst);
VSP_API VspStatus vspsLogGaussMixture_32f_D2L(const Vsp32f* src, const Vsp32f* const* means,
                                              const Vsp32f* const* vars, Vsp32s count, Vsp32s width,
                                              const Vsp32f* gConsts, Vsp32f* dst);
VSP_API VspStatus vspsLogGaussMixture_64f_D2(const Vsp64f* src, const Vsp64f* means,
                                             const Vsp64f* vars, Vsp32s count, Vsp32s step,
                                             Vsp32s width, const Vsp64f* gConsts, Vsp64f* dst);
VSP_API VspStatus vspsLogGaussMixture_64f_D2L(const Vsp64f* src, const Vsp64f* const* means,
                                              const Vsp64f* const* vars, Vsp32s count, Vsp32s width,
                                              const Vsp64f* gConsts, Vsp64f* dst);
VSP_API VspStatus vspsLogGaussMixture_IdVar_32f_D2(const Vsp32f* src, const Vsp32f* means,
                                                   Vsp32s count, Vsp32s step, Vsp32s width,
                                                   const Vsp32f* gConsts, Vsp32f* dst);
VSP_API VspStatus vspsLogGaussMixture_IdVar_32f_D2L(const Vsp32f* src, const Vsp32f* const* means,
                                                    Vsp32s count, Vsp32s width,
                                                    const Vsp32f* gConsts, Vsp32f* dst);
VSP_API VspStatus vspsLogGaussMixture_IdVar_64f_D2(const Vsp64f* src, const Vsp64f* means,
                                                   Vsp32s count, Vsp32s step, Vsp32s width,
                                                   const Vsp64f* gConsts, Vsp64f* dst);
VSP_API VspStatus vspsLogGaussMixture_IdVar_64f_D2L(const Vsp64f* src, const Vsp64f* const* means,
                                                    Vsp32s count, Vsp32s width,
                                                    const Vsp64f* gConsts, Vsp64f* dst);
VSP_API VspStatus vspsLogGaussMixture_Scaled_16s32f_D2(const Vsp16s* src, const Vsp16s* means,
                                                       const Vsp16s* vars, Vsp32s count,
                                                       Vsp32s step, Vsp32s width,
                                                       const Vsp32f* gConsts, Vsp32f* dst,
                                                       Vsp32s scaleFactor);
VSP_API VspStatus vspsLogGaussMixture_Scaled_16s32f_D2L(const Vsp16s* src,
                                                        const Vsp16s* const* means,
                                                        const Vsp16s* const* vars, Vsp32s count,
                                                        Vsp32s width, const Vsp32f* gConsts,
                                                        Vsp32f* dst, Vsp32s scaleFactor);
VSP_API VspStatus vspsLogGaussMixture_IdVarScaled_16s32f_D2(const Vsp16s* src, const Vsp16s* means,
                                                            Vsp32s count, Vsp32s step, Vsp32s width,
                                                            const Vsp32f* gConsts, Vsp32f* dst,
                                                            Vsp32s scaleFactor);
VSP_API VspStatus vspsLogGaussMixture_IdVarScaled_16s32f_D2L(const Vsp16s* src,
                                                             const Vsp16s* const* means,
                                                             Vsp32s count, Vsp32s width,
                                                             const Vsp32f* gConsts, Vsp32f* dst,
                                                             Vsp32s scaleFactor);
VSP_API VspStatus vspsLogGaussMixture_LowScaled_16s32f_D2(const Vsp16s* src, const Vsp16s* means,
                                                          const Vsp16s* vars, Vsp32s count,
                                                          Vsp32s step, Vsp32s width,
                                                          const Vsp32f* gConsts, Vsp32f* dst,
                                                          Vsp32s scaleFactor);
VSP_API VspStatus vspsLogGaussMixture_LowScaled_16s32f_D2L(const Vsp16s* src,
                                                           const Vsp16s* const* means,
                                                           const Vsp16s* const* vars, Vsp32s count,
                                                           Vsp32s width, const Vsp32f* gConsts,
                                                           Vsp32f* dst, Vsp32s scaleFactor);
VSP_API VspStatus vspsLogGaussMixture_IdVarLowScaled_16s32f_D2(const Vsp16s* src,
                                                               const Vsp16s* means, Vsp32s count,
                                                               Vsp32s step, Vsp32s width,
                                                               const Vsp32f* gConsts, Vsp32f* dst,
                                                               Vsp32s scaleFactor);
VSP_API VspStatus vspsLogGaussMixture_IdVarLowScaled_16s32f_D2L(const Vsp16s* src,
                                                                const Vsp16s* const* means,
                                                                Vsp32s count, Vsp32s width,
                                                                const Vsp32f* gConsts, Vsp32f* dst,
                                                                Vsp32s scaleFactor);

/* Per frame (rows of frames), the log likelihood under the components that
 * the frame's row of the bit matrix `shortlist` selects ((count + 7) / 8
 * bytes a row, component m under mask 128 >> (m & 7) of byte m / 8), each
 * scored as by vspsLogGaussSingle_*; noSelectionScore where none is. */
VSP_API VspStatus vspsLogGaussMixture_Select_32f_D2(const Vsp32f* frames, const Vsp32f* means,
                                                    const Vsp32f* vars, Vsp32s step, Vsp32s width,
                                                    const Vsp32f* gConsts, const Vsp8u* shortlist,
                                                    Vsp32s count, Vsp32f* dst, Vsp32s frameCount,
                                                    Vsp32f noSelectionScore);
VSP_API VspStatus vspsLogGaussMixture_Select_32f_D2L(const Vsp32f* const* frames,
                                                     const Vsp32f* const* means,
                                                     const Vsp32f* const* vars, Vsp32s width,
                                                     const Vsp32f* gConsts, const Vsp8u* shortlist,
                                                     Vsp32s count, Vsp32f* dst, Vsp32s frameCount,
                                                     Vsp32f noSelectionScore);
VSP_API VspStatus vspsLogGaussMixture_SelectIdVar_32f_D2(
    const Vsp32f* frames, const Vsp32f* means, Vsp32s step, Vsp32s width, const Vsp32f* gConsts,
    const Vsp8u* shortlist, Vsp32s count, Vsp32f* dst, Vsp32s frameCount, Vsp32f noSelectionScore);
VSP_API VspStatus vspsLogGaussMixture_SelectIdVar_32f_D2L(
    const Vsp32f* const* frames, const Vsp32f* const* means, Vsp32s width, const Vsp32f* gConsts,
    const Vsp8u* shortlist, Vsp32s count, Vsp32f* dst, Vsp32s frameCount, Vsp32f noSelectionScore);
VSP_API VspStatus vspsLogGaussMixture_SelectScaled_16s32f_D2(
    const Vsp16s* frames, const Vsp16s* means, const Vsp16s* vars, Vsp32s step, Vsp32s width,
    const Vsp32f* gConsts, const Vsp8u* shortlist, Vsp32s count, Vsp32f* dst, Vsp32s frameCount,
    Vsp32f noSelectionScore, Vsp32s scaleFactor);
VSP_API VspStatus vspsLogGaussMixture_SelectScaled_16s32f_D2L(
    const Vsp16s* const* frames, const Vsp16s* const* means, const Vsp16s* const* vars,
    Vsp32s width, const Vsp32f* gConsts, const Vsp8u* shortlist, Vsp32s count, Vsp32f* dst,
    Vsp32s frameCount, Vsp32f noSelectionScore, Vsp32s scaleFactor);
VSP_API VspStatus vspsLogGaussMixture_SelectIdVarScaled_16s32f_D2(
    const Vsp16s* frames, const Vsp16s* means, Vsp32s step, Vsp32s width, const Vsp32f* gConsts,
    const Vsp8u* shortlist, Vsp32s count, Vsp32f* dst, Vsp32s frameCount, Vsp32f noSelectionScore,
    Vsp32s scaleFactor);
VSP_API VspStatus vspsLogGaussMixture_SelectIdVarScaled_16s32f_D2L(
    const Vsp16s* const* frames, const Vsp16s* const* means, Vsp32s width, const Vsp32f* gConsts,
    const Vsp8u* shortlist, Vsp32s count, Vsp32f* dst, Vsp32s frameCount, Vsp32f noSelectionScore,
    Vsp32s scaleFactor);

/* ---- Distances and output-probability precomputation -------------------- */

/* ===========================================================================
 * Acoustic front end
 * ========================================================================= */

/* ---- Filter bank objects ------------------------------------------------- */

/* Banks of overlapping triangular filters over the bins of a transform of
 * length N: `fftLen` raised to a power of two (at least 2), whose order is
 * written to *order. Flags: vspFBankMelWeights (centres truncated to bins,
 * sides straight on the Mel scale) or vspFBankBinWeights (centres rounded,
 * sides straight in bin number), optionally with vspFBankTransformInput
 * (evaluation takes N samples and transforms them first). The Mel scale is
 * melMul * ln(1 + f / melDiv); no constants are assumed.
 *
 * GetSize reports the bytes of a caller's block for Init; Init builds in it
 * and allocates nothing; InitAlloc allocates and pairs with FBankFree. A
 * failed InitAlloc returns vspStatusNoMemory with *stateOut holding the
 * partly built object (or null), which FBankFree releases. */
VSP_API VspStatus vspsMelFBankGetSize_32f(Vsp32s fftLen, Vsp32s filterCount, Vsp32s flags,
                                          Vsp32s* sizeBytes);
VSP_API VspStatus vspsMelFBankGetSize_16s(Vsp32s fftLen, Vsp32s filterCount, Vsp32s flags,
                                          Vsp32s* sizeBytes);
/* fftLen 32 to 8192, flags exactly vspFBankBinWeights, filterCount up to N / 2. */
VSP_API VspStatus vspsMelFBankGetSize_32s(Vsp32s fftLen, Vsp32s filterCount, Vsp32s flags,
                                          Vsp32s* sizeBytes);
VSP_API VspStatus vspsMelFBankInit_32f(VspFBankState_32f* state, Vsp32s* order, Vsp32s fftLen,
                                       Vsp32f sampleRate, Vsp32f lowFreq, Vsp32f highFreq,
                                       Vsp32s filterCount, Vsp32f melMul, Vsp32f melDiv,
                                       Vsp32s flags);
VSP_API VspStatus vspsMelFBankInit_16s(VspFBankState_16s* state, Vsp32s* order, Vsp32s fftLen,
                                       Vsp32f sampleRate, Vsp32f lowFreq, Vsp32f highFreq,
                                       Vsp32s filterCount, Vsp32f melMul, Vsp32f melDiv,
                                       Vsp32s flags);
/* Pure integer arithmetic; melMul and melDiv with 15 fraction bits. */
VSP_API VspStatus vspsMelFBankInit_32s(VspFBankState_32s* state, Vsp32s* order, Vsp32s fftLen,
                                       Vsp32s sampleRate, Vsp32s lowFreq, Vsp32s highFreq,
                                       Vsp32s filterCount, Vsp32s melMul, Vsp32s melDiv,
                                       Vsp32s flags);
VSP_API VspStatus vspsMelFBankInitAlloc_32f(VspFBankState_32f** stateOut, Vsp32s* order,
                                            Vsp32s fftLen, Vsp32f sampleRate, Vsp32f lowFreq,
                                            Vsp32f highFreq, Vsp32s filterCount, Vsp32f melMul,
                                            Vsp32f melDiv, Vsp32s flags);
VSP_API VspStatus vspsMelFBankInitAlloc_16s(VspFBankState_16s** stateOut, Vsp32s* order,
                                            Vsp32s fftLen, Vsp32f sampleRate, Vsp32f lowFreq,
                                            Vsp32f highFreq, Vsp32s filterCount, Vsp32f melMul,
                                            Vsp32f melDiv, Vsp32s flags);
/* linearCount filters evenly in Hz from lowFreq to linearHighFreq, the rest
 * evenly in Mel up to highFreq. */
VSP_API VspStatus vspsMelLinFBankInitAlloc_32f(VspFBankState_32f** stateOut, Vsp32s* order,
                                               Vsp32s fftLen, Vsp32f sampleRate, Vsp32f lowFreq,
                                               Vsp32f highFreq, Vsp32s filterCount,
                                               Vsp32f linearHighFreq, Vsp32s linearCount,
                                               Vsp32f melMul, Vsp32f melDiv, Vsp32s flags);
VSP_API VspStatus vspsMelLinFBankInitAlloc_16s(VspFBankState_16s** stateOut, Vsp32s* order,
                                               Vsp32s fftLen, Vsp32f sampleRate, Vsp32f lowFreq,
                                               Vsp32f highFreq, Vsp32s filterCount,
                                               Vsp32f linearHighFreq, Vsp32s linearCount,
                                               Vsp32f melMul, Vsp32f melDiv, Vsp32s flags);
/* No centres and zero weights: set the centres, then the coefficients. */
VSP_API VspStatus vspsEmptyFBankInitAlloc_32f(VspFBankState_32f** stateOut, Vsp32s* order,
                                              Vsp32s fftLen, Vsp32s filterCount, Vsp32s flags);
VSP_API VspStatus vspsEmptyFBankInitAlloc_16s(VspFBankState_16s** stateOut, Vsp32s* order,
                                              Vsp32s fftLen, Vsp32s filterCount, Vsp32s flags);
/* For allocated banks; a bank built by Init in a caller's block is left alone. */
VSP_API VspStatus vspsFBankFree_32f(VspFBankState_32f* state);
VSP_API VspStatus vspsFBankFree_16s(VspFBankState_16s* state);
/* filterCount + 2 centres: low edge, each filter's centre, high edge, as bins. */
VSP_API VspStatus vspsFBankGetCenters_32f(const VspFBankState_32f* state, Vsp32s* centersOut);
VSP_API VspStatus vspsFBankGetCenters_16s(const VspFBankState_16s* state, Vsp32s* centersOut);
VSP_API VspStatus vspsFBankSetCenters_32f(VspFBankState_32f* state, const Vsp32s* centersIn);
VSP_API VspStatus vspsFBankSetCenters_16s(VspFBankState_16s* state, const Vsp32s* centersIn);
/* Filter `filterIndex` (from 1): its rising weights, centers[f] - centers[f-1] + 1
 * of them, then its falling weights, centers[f+1] - centers[f]. */
VSP_API VspStatus vspsFBankGetCoeffs_32f(const VspFBankState_32f* state, Vsp32s filterIndex,
                                         Vsp32f* coeffsOut);
VSP_API VspStatus vspsFBankGetCoeffs_16s(const VspFBankState_16s* state, Vsp32s filterIndex,
                                         Vsp32f* coeffsOut);
VSP_API VspStatus vspsFBankSetCoeffs_32f(VspFBankState_32f* state, Vsp32s filterIndex,
                                         const Vsp32f* coeffsIn);
VSP_API VspStatus vspsFBankSetCoeffs_16s(VspFBankState_16s* state, Vsp32s filterIndex,
                                         const Vsp32f* coeffsIn);
/* dst = melMul * ln(1 + src / melDiv) and its inverse, in double precision. */
VSP_API VspStatus vspsLinearToMel_32f(const Vsp32f* src, Vsp32f* dst, Vsp32s len, Vsp32f melMul,
                                      Vsp32f melDiv);
VSP_API VspStatus vspsMelToLinear_32f(const Vsp32f* src, Vsp32f* dst, Vsp32s len, Vsp32f melMul,
                                      Vsp32f melDiv);

/* ---- Filter bank evaluation ---------------------------------------------- */

/* One value per filter from a spectrum indexed by bin, or from N samples for
 * a bank built with vspFBankTransformInput (magnitude spectrum; such a bank
 * uses its own work buffer, so one thread at a time). */
VSP_API VspStatus vspsEvalFBank_32f(const Vsp32f* src, Vsp32f* dst, VspFBankState_32f* state);
VSP_API VspStatus vspsEvalFBank_16s_Sfs(const Vsp16s* src, Vsp16s* dst, VspFBankState_16s* state,
                                        Vsp32s scaleFactor);
VSP_API VspStatus vspsEvalFBank_16s32s_Sfs(const Vsp16s* src, Vsp32s* dst,
                                           VspFBankState_16s* state, Vsp32s scaleFactor);
/* scaleFactor from -31 to 31. */
VSP_API VspStatus vspsEvalFBank_32s_Sfs(const Vsp32s* src, Vsp32s* dst,
                                        const VspFBankState_32s* state, Vsp32s scaleFactor);

/* ---- DCT and liftering --------------------------------------------------- */

/* Cosine transform of a frame of log filter bank outputs into liftered
 * cepstra. Row i of the table is cos((k - 0.5) * i * pi / dctLen), unscaled;
 * output i - 1 is lifter[i] times the dot product with row i, and the C0
 * variants put lifter[0] times the plain sum last, at dst[cepstrumLen]. */
VSP_API VspStatus vspsDCTLifterGetSize_16s(Vsp32s dctLen, Vsp32s cepstrumLen, Vsp32s* sizeBytes);
VSP_API VspStatus vspsDCTLifterGetSize_32f(Vsp32s dctLen, Vsp32s cepstrumLen, Vsp32s* sizeBytes);
VSP_API VspStatus vspsDCTLifterGetSize_MulC0_16s(Vsp32s dctLen, Vsp32s cepstrumLen,
                                                 Vsp32s* sizeBytes);

VSP_API VspStatus vspsDCTLifterInit_16s(VspDCTLifterState_16s* state, Vsp32s dctLen,
                                        Vsp32s cepstrumLen, Vsp32s lifterLen, Vsp32f lifterScale);
VSP_API VspStatus vspsDCTLifterInit_32f(VspDCTLifterState_32f* state, Vsp32s dctLen,
                                        Vsp32s cepstrumLen, Vsp32s lifterLen, Vsp32f lifterScale);
VSP_API VspStatus vspsDCTLifterInit_C0_16s(VspDCTLifterState_16s* state, Vsp32s dctLen,
                                           Vsp32s cepstrumLen, Vsp32s lifterLen,
                                           Vsp32f lifterScale, Vsp32f c0Multiplier);
VSP_API VspStatus vspsDCTLifterInit_C0_32f(VspDCTLifterState_32f* state, Vsp32s dctLen,
                                           Vsp32s cepstrumLen, Vsp32s lifterLen,
                                           Vsp32f lifterScale, Vsp32f c0Multiplier);
VSP_API VspStatus vspsDCTLifterInit_Mul_16s(VspDCTLifterState_16s* state, Vsp32s dctLen,
                                            const Vsp32f* multipliers, Vsp32s cepstrumLen);
VSP_API VspStatus vspsDCTLifterInit_Mul_32f(VspDCTLifterState_32f* state, Vsp32s dctLen,
                                            const Vsp32f* multipliers, Vsp32s cepstrumLen);
VSP_API VspStatus vspsDCTLifterInit_MulC0_16s(VspDCTLifterState_16s* state, Vsp32s dctLen,
                                              const Vsp32f* multipliers, Vsp32s cepstrumLen);
VSP_API VspStatus vspsDCTLifterInit_MulC0_32f(VspDCTLifterState_32f* state, Vsp32s dctLen,
                                              const Vsp32f* multipliers, Vsp32s cepstrumLen);

/* On vspStatusNoMemory *stateOut already holds the partly built object (or
 * null if the object itself could not be had); its Free releases what it got. */
VSP_API VspStatus vspsDCTLifterInitAlloc_16s(VspDCTLifterState_16s** stateOut, Vsp32s dctLen,
                                             Vsp32s cepstrumLen, Vsp32s lifterLen,
                                             Vsp32f lifterScale);
VSP_API VspStatus vspsDCTLifterInitAlloc_32f(VspDCTLifterState_32f** stateOut, Vsp32s dctLen,
                                             Vsp32s cepstrumLen, Vsp32s lifterLen,
                                             Vsp32f lifterScale);
VSP_API VspStatus vspsDCTLifterInitAlloc_C0_16s(VspDCTLifterState_16s** stateOut, Vsp32s dctLen,
                                                Vsp32s cepstrumLen, Vsp32s lifterLen,
                                                Vsp32f lifterScale, Vsp32f c0Multiplier);
VSP_API VspStatus vspsDCTLifterInitAlloc_C0_32f(VspDCTLifterState_32f** stateOut, Vsp32s dctLen,
                                                Vsp32s cepstrumLen, Vsp32s lifterLen,
                                                Vsp32f lifterScale, Vsp32f c0Multiplier);
VSP_API VspStatus vspsDCTLifterInitAlloc_Mul_16s(VspDCTLifterState_16s** stateOut, Vsp32s dctLen,
                                                 const Vsp32f* multipliers, Vsp32s cepstrumLen);
VSP_API VspStatus vspsDCTLifterInitAlloc_Mul_32f(VspDCTLifterState_32f** stateOut, Vsp32s dctLen,
                                                 const Vsp32f* multipliers, Vsp32s cepstrumLen);
VSP_API VspStatus vspsDCTLifterInitAlloc_MulC0_16s(VspDCTLifterState_16s** stateOut,
                                                   Vsp32s dctLen, const Vsp32f* multipliers,
                                                   Vsp32s cepstrumLen);
VSP_API VspStatus vspsDCTLifterInitAlloc_MulC0_32f(VspDCTLifterState_32f** stateOut,
                                                   Vsp32s dctLen, const Vsp32f* multipliers,
                                                   Vsp32s cepstrumLen);

VSP_API VspStatus vspsDCTLifter_32f(const Vsp32f* src, Vsp32f* dst,
                                    const VspDCTLifterState_32f* state);
/* The 16-bit state's work buffer is written: one thread at a time. */
VSP_API VspStatus vspsDCTLifter_16s_Sfs(const Vsp16s* src, Vsp16s* dst,
                                        VspDCTLifterState_16s* state, Vsp32s scaleFactor);
VSP_API VspStatus vspsDCTLifter_32s16s_Sfs(const Vsp32s* src, Vsp16s* dst,
                                           VspDCTLifterState_16s* state, Vsp32s scaleFactor);

VSP_API VspStatus vspsDCTLifterFree_16s(VspDCTLifterState_16s* state);
VSP_API VspStatus vspsDCTLifterFree_32f(VspDCTLifterState_32f* state);

/* ---- Delta features ------------------------------------------------------ */

/* Streaming derivatives. Output rows hold [static | delta] or
 * [static | delta | deltaDelta] blocks of `width` columns, `dstStep` elements
 * apart. With vspDeltaBegin, src row r goes to dst row r; without it, dst rows
 * 0 upward must hold the last rows of the previous call (2 or 4 for Delta
 * Win1/Win2, 3 or 6 for DeltaDelta, 8 for Aurora) and src row r goes behind
 * them. Deltas trail the statics and are completed by vspDeltaEnd, which may
 * come with `height` 0. Multipliers are rows of `width`: static, delta and,
 * for DeltaDelta, second derivative. */
VSP_API VspStatus vspsDelta_Win1_32f_D2(const Vsp32f* src, Vsp32s width, Vsp32f* dst,
                                        Vsp32s dstStep, Vsp32s height, Vsp32f deltaScale,
                                        Vsp32s mode);
VSP_API VspStatus vspsDelta_Win1_16s_D2Sfs(const Vsp16s* src, Vsp32s width, Vsp16s* dst,
                                           Vsp32s dstStep, Vsp32s height, Vsp16s deltaScale,
                                           Vsp32s mode, Vsp32s scaleFactor);
VSP_API VspStatus vspsDelta_Win2_32f_D2(const Vsp32f* src, Vsp32s width, Vsp32f* dst,
                                        Vsp32s dstStep, Vsp32s height, Vsp32f deltaScale,
                                        Vsp32s mode);
VSP_API VspStatus vspsDelta_Win2_16s_D2Sfs(const Vsp16s* src, Vsp32s width, Vsp16s* dst,
                                           Vsp32s dstStep, Vsp32s height, Vsp16s deltaScale,
                                           Vsp32s mode, Vsp32s scaleFactor);
VSP_API VspStatus vspsDeltaMul_Win1_32f_D2(const Vsp32f* src, const Vsp32f* multipliers,
                                           Vsp32s width, Vsp32f* dst, Vsp32s dstStep,
                                           Vsp32s height, Vsp32s mode);
VSP_API VspStatus vspsDeltaMul_Win1_16s_D2Sfs(const Vsp16s* src, const Vsp16s* multipliers,
                                              Vsp32s width, Vsp16s* dst, Vsp32s dstStep,
                                              Vsp32s height, Vsp32s mode, Vsp32s scaleFactor);
VSP_API VspStatus vspsDeltaMul_Win2_32f_D2(const Vsp32f* src, const Vsp32f* multipliers,
                                           Vsp32s width, Vsp32f* dst, Vsp32s dstStep,
                                           Vsp32s height, Vsp32s mode);
VSP_API VspStatus vspsDeltaMul_Win2_16s_D2Sfs(const Vsp16s* src, const Vsp16s* multipliers,
                                              Vsp32s width, Vsp16s* dst, Vsp32s dstStep,
                                              Vsp32s height, Vsp32s mode, Vsp32s scaleFactor);
VSP_API VspStatus vspsDeltaDelta_Win1_32f_D2(const Vsp32f* src, Vsp32s width, Vsp32f* dst,
                                             Vsp32s dstStep, Vsp32s height, Vsp32f deltaScale,
                                             Vsp32f deltaDeltaScale, Vsp32s mode);
VSP_API VspStatus vspsDeltaDelta_Win1_16s_D2Sfs(const Vsp16s* src, Vsp32s width, Vsp16s* dst,
                                                Vsp32s dstStep, Vsp32s height, Vsp16s deltaScale,
                                                Vsp16s deltaDeltaScale, Vsp32s mode,
                                                Vsp32s scaleFactor);
VSP_API VspStatus vspsDeltaDelta_Win2_32f_D2(const Vsp32f* src, Vsp32s width, Vsp32f* dst,
                                             Vsp32s dstStep, Vsp32s height, Vsp32f deltaScale,
                                             Vsp32f deltaDeltaScale, Vsp32s mode);
VSP_API VspStatus vspsDeltaDelta_Win2_16s_D2Sfs(const Vsp16s* src, Vsp32s width, Vsp16s* dst,
                                                Vsp32s dstStep, Vsp32s height, Vsp16s deltaScale,
                                                Vsp16s deltaDeltaScale, Vsp32s mode,
                                                Vsp32s scaleFactor);
VSP_API VspStatus vspsDeltaDeltaMul_Win1_32f_D2(const Vsp32f* src, const Vsp32f* multipliers,
                                                Vsp32s width, Vsp32f* dst, Vsp32s dstStep,
                                                Vsp32s height, Vsp32s mode);
VSP_API VspStatus vspsDeltaDeltaMul_Win1_16s_D2Sfs(const Vsp16s* src, const Vsp16s* multipliers,
                                                   Vsp32s width, Vsp16s* dst, Vsp32s dstStep,
                                                   Vsp32s height, Vsp32s mode,
                                                   Vsp32s scaleFactor);
VSP_API VspStatus vspsDeltaDeltaMul_Win2_32f_D2(const Vsp32f* src, const Vsp32f* multipliers,
                                                Vsp32s width, Vsp32f* dst, Vsp32s dstStep,
                                                Vsp32s height, Vsp32s mode);
VSP_API VspStatus vspsDeltaDeltaMul_Win2_16s_D2Sfs(const Vsp16s* src, const Vsp16s* multipliers,
                                                   Vsp32s width, Vsp16s* dst, Vsp32s dstStep,
                                                   Vsp32s height, Vsp32s mode,
                                                   Vsp32s scaleFactor);

/* Aurora: 13 columns, src rows 14 elements apart, dstStep at least 39, nine-
 * frame regression windows taken from the statics for both derivatives. */
VSP_API VspStatus vspsDeltaDelta_Aurora_32f_D2(const Vsp32f* src, Vsp32f* dst, Vsp32s dstStep,
                                               Vsp32s height, Vsp32s mode);
VSP_API VspStatus vspsDeltaDelta_Aurora_16s_D2Sfs(const Vsp16s* src, Vsp16s* dst, Vsp32s dstStep,
                                                  Vsp32s height, Vsp32s mode, Vsp32s scaleFactor);
VSP_API VspStatus vspsDeltaDeltaMul_Aurora_32f_D2(const Vsp32f* src, const Vsp32f* multipliers,
                                                  Vsp32f* dst, Vsp32s dstStep, Vsp32s height,
                                                  Vsp32s mode);
VSP_API VspStatus vspsDeltaDeltaMul_Aurora_16s_D2Sfs(const Vsp16s* src, const Vsp16s* multipliers,
                                                     Vsp16s* dst, Vsp32s dstStep, Vsp32s height,
                                                     Vsp32s mode, Vsp32s scaleFactor);

/* Batch deltas in place: columns offset .. offset + width - 1 of `height`
 * rows in, columns offset + width onward out, regression over windowSize
 * frames, the past side replaced by row 0 near the start and the future side
 * by the last row near the end. */
VSP_API VspStatus vspsEvalDelta_32f_D2(Vsp32f* srcDst, Vsp32s height, Vsp32s step, Vsp32s width,
                                       Vsp32s offset, Vsp32s windowSize, Vsp32f deltaScale);
VSP_API VspStatus vspsEvalDelta_16s_D2Sfs(Vsp16s* srcDst, Vsp32s height, Vsp32s step,
                                          Vsp32s width, Vsp32s offset, Vsp32s windowSize,
                                          Vsp16s deltaScale, Vsp32s scaleFactor);
VSP_API VspStatus vspsEvalDeltaMul_32f_D2(Vsp32f* srcDst, Vsp32s height, Vsp32s step,
                                          const Vsp32f* multipliers, Vsp32s width, Vsp32s offset,
                                          Vsp32s windowSize);
VSP_API VspStatus vspsEvalDeltaMul_16s_D2Sfs(Vsp16s* srcDst, Vsp32s height, Vsp32s step,
                                             const Vsp16s* multipliers, Vsp32s width,
                                             Vsp32s offset, Vsp32s windowSize,
                                             Vsp32s scaleFactor);

/* ===========================================================================
 * Vector quantization
 * ========================================================================= */

/* ===========================================================================
 * Template matching
 * ========================================================================= */

/* ===========================================================================
 * Model estimation
 * ========================================================================= */

/* ---- Block-diagonal matrix object --------------------------------------- */

/* Builds a block-diagonal matrix of `blockCount` square blocks; block b takes
 * blockSizes[b] consecutive pointers of srcRows and copies the first
 * blockSizes[b] elements of each. */
VSP_API VspStatus vspsBlockDMatrixInitAlloc_16s(VspBlockDMatrix** dstObject,
                                                const Vsp16s* const* srcRows,
                                                const Vsp32s* blockSizes, Vsp32s blockCount);
VSP_API VspStatus vspsBlockDMatrixInitAlloc_32f(VspBlockDMatrix** dstObject,
                                                const Vsp32f* const* srcRows,
                                                const Vsp32s* blockSizes, Vsp32s blockCount);
VSP_API VspStatus vspsBlockDMatrixInitAlloc_64f(VspBlockDMatrix** dstObject,
                                                const Vsp64f* const* srcRows,
                                                const Vsp32s* blockSizes, Vsp32s blockCount);
VSP_API VspStatus vspsBlockDMatrixFree_16s(VspBlockDMatrix* object);
VSP_API VspStatus vspsBlockDMatrixFree_32f(VspBlockDMatrix* object);
VSP_API VspStatus vspsBlockDMatrixFree_64f(VspBlockDMatrix* object);

/* ===========================================================================
 * Noise tracking and suppression
 * ========================================================================= */

/* ===========================================================================
 * Distributed speech front end
 * ========================================================================= */

#ifdef __cplusplus
}
#endif

#endif /* VSPSR_H */
