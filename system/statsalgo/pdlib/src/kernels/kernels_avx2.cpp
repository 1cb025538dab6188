// AVX2 with FMA, on the x86-64 processors that have both.
#include "kernels/filters_vector.h"
#include "kernels/iir_vector.h"
#include "kernels/kernel_forms.h"
#include "kernels/kernels_scalar.h"
#include "kernels/parse_vector.h"
#include "kernels/sad_x86.h"
#include "kernels/vectors.h"

namespace pdlib {

constinit const KernelTable kAvx2Kernels = {
    .name = "avx2",
    .sad = SadByRows<AddRowSadsByTiles<U16x16>>,
    .gain = GainByVectors<U16x16>,
    .bpc = BpcByVectors<U16x16>,
    .box1x2 = Box1x2ByVectors<U16x16>,
    .box1x4 = Box1x4ByVectors<U16x16>,
    .boxNx1 = BoxNx1ByVectors<U16x16>,
    .iir = IirByVectors<U16x8, F32x8>,
    .parseRow = ParseByVectors<U16x16>,
    .parseRowOptimized = ParseOptimizedByVectors<U16x16>,
    .fillBytes = scalar::FillBytes,
    .fillPacked = scalar::FillPacked,
    .fillWords = scalar::FillWords,
    .filterLine = scalar::FilterLine,
    .filterLines = scalar::FilterLines,
    .lineSad = scalar::LineSad,
};

}  // namespace pdlib
