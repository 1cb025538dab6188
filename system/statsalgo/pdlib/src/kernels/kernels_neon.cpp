// NEON, the baseline of AArch64.
#include "kernels/filters_vector.h"
#include "kernels/iir_vector.h"
#include "kernels/kernel_forms.h"
#include "kernels/kernels_scalar.h"
#include "kernels/parse_vector.h"
#include "kernels/sad_neon.h"
#include "kernels/vectors.h"

namespace pdlib {

constinit const KernelTable kNeonKernels = {
    .name = "neon",
    .sad = SadByRows<AddRowSadsByPasses>,
    .gain = GainByVectors<U16x8>,
    .bpc = BpcByVectors<U16x8>,
    .box1x2 = Box1x2ByVectors<U16x8>,
    .box1x4 = Box1x4ByVectors<U16x8>,
    .boxNx1 = BoxNx1ByVectors<U16x8>,
    .iir = IirByVectors<U16x8, F32x8>,
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
