// sample_formats.h: the kernels that bring samples from a caller's encoding to a working format and back.
//
// The working formats are double and float, full scale -1.0 to +1.0. A kernel sees a flat run of samples: its
// count is frames times channels, and a count of 0 does nothing. It reads and writes exactly count samples,
// at any alignment of the caller's buffer. Every body returns the same bits for every input.
//
// Encodings: Int8 is unsigned with silence at 128; the other integers are signed and little-endian, Int24
// packed in three bytes; HdcdInt32 is what hdcd_process leaves; Float32 and Float64 are IEEE.
#pragma once

#include <cstdint>
#include <tonekit/convert.h>

namespace tonekit {

extern "C" {

// The factors of 0 to 6 dB, by the index that SetHDCDGain stores.
extern const double HdcdGainTable[7];

// Loads: an integer of n bits is multiplied by 2^-(n-1), after 128 is taken off Int8. To float, Int24 and
// shorter are converted and scaled in float; Int32 and Int64 are scaled in double and the product is rounded.
// Nothing is clipped.
void LoadInt8ToDouble(const void *source, double *destination, uint32_t count);
void LoadInt8ToFloat(const void *source, float *destination, uint32_t count);
void LoadInt16ToDouble(const void *source, double *destination, uint32_t count);
void LoadInt16ToFloat(const void *source, float *destination, uint32_t count);
void LoadInt24ToDouble(const void *source, double *destination, uint32_t count);
void LoadInt24ToFloat(const void *source, float *destination, uint32_t count);
void LoadInt32ToDouble(const void *source, double *destination, uint32_t count);
void LoadInt32ToFloat(const void *source, float *destination, uint32_t count);
void LoadInt64ToDouble(const void *source, double *destination, uint32_t count);
void LoadInt64ToFloat(const void *source, float *destination, uint32_t count);

// As LoadInt32To..., and the product is multiplied, in double, by the gain that GetHDCDGain returns at the
// call.
void LoadHdcdInt32ToDouble(const void *source, double *destination, uint32_t count);
void LoadHdcdInt32ToFloat(const void *source, float *destination, uint32_t count);

// Widened, copied or rounded; never clipped.
void LoadFloat32ToDouble(const void *source, double *destination, uint32_t count);
void LoadFloat32ToFloat(const void *source, float *destination, uint32_t count);
void LoadFloat64ToDouble(const void *source, double *destination, uint32_t count);
void LoadFloat64ToFloat(const void *source, float *destination, uint32_t count);

// Zeros. The source is not read and may be null.
void LoadSilenceToDouble(const void *source, double *destination, uint32_t count);
void LoadSilenceToFloat(const void *source, float *destination, uint32_t count);

// Stores to integers of n bits: x = sample * 2^(n-1); above 0 it becomes x + 0.5, at most 2^(n-1) - 1; else x
// - 0.5, at least -2^(n-1); then the fraction is cut off. Halves thus go away from zero. A NaN becomes 0, in
// 32 bits -2147483648. To 32 bits the work is done in double, else in the format of the sample.
void StoreDoubleToInt16(void *destination, const double *source, uint32_t count);
void StoreFloatToInt16(void *destination, const float *source, uint32_t count);
void StoreDoubleToInt24(void *destination, const double *source, uint32_t count);
void StoreFloatToInt24(void *destination, const float *source, uint32_t count);
void StoreDoubleToInt32(void *destination, const double *source, uint32_t count);
void StoreFloatToInt32(void *destination, const float *source, uint32_t count);

// Stores to 8 bits have a rule of their own: the whole part of sample * 128 + 128 + 0.5, from 0 to 255. A NaN
// becomes 0. The float form works in double up to the 0.5, which it adds in float.
void StoreDoubleToInt8(void *destination, const double *source, uint32_t count);
void StoreFloatToInt8(void *destination, const float *source, uint32_t count);

// Clipped to -1.0 and +1.0. A NaN stays one.
void StoreDoubleToFloat32(void *destination, const double *source, uint32_t count);
void StoreFloatToFloat32(void *destination, const float *source, uint32_t count);

// Not clipped: a double output keeps what exceeds full scale.
void StoreDoubleToFloat64(void *destination, const double *source, uint32_t count);
void StoreFloatToFloat64(void *destination, const float *source, uint32_t count);

// Write nothing.
void StoreNothing(void *destination, const void *source, uint32_t count);

} // extern "C"

} // namespace tonekit
