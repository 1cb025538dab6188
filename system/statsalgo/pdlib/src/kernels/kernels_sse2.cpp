// SSE2, the baseline of x86-64. Without fused operations the band-pass filter stays scalar.
#include "kernels/filters_vector.h"
#include "kernels/kernel_forms.h"
#include "kernels/kernels_scalar.h"
#include "kernels/parse_vector.h"
#include "kernels/sad_x86.h"
#include "kernels/vectors.h"

namespace pdlib {

constinit const KernelTable kSse2Kernels = {
    .name = "sse2",
    .sad = SadByRows<AddRowSadsByTiles<U16x8>>,
    .gain = GainByVectors<U16x8>,
    .bpc = BpcByVectors<U16x8>,
    .box1x2 = Box1x2ByVectors<U16x8>,
    .box1x4 = Box1x4ByVectors<U16x8>,
    .boxNx1 = BoxNx1ByVectors<U16x8>,
    .iir = scalar::Iir,
    .parseRow = ParseByVectors<U16x8>,
    .parseRowOptimized = ParseOptimizedByVectors<U16x8>,
    .fillBytes = scalar::FillBytes,
    .fillPacked = scalar::FillPacked,
    .fillWords = scalar::FillWords,
    .filterLine = scalar::FilterLine,
    .filterLines = scalar::FilterLines,
    .lineSad = scalar::LineSad,
};

}  // namespace pdlib
