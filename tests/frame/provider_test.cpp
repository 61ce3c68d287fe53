// The provider's extension calls, beyond the arguments that the exports use.
#include "frame/provider.hpp"

#include <algorithm>
#include <limits>
#include <vector>

#include "support/bits.hpp"

namespace {

using namespace zolv::provider;
using vec = std::vector<double>;

TEST(Dgemmt, ColumnMajorIsTheTransposedRowMajorCall) {
    // A = | 1 3 |, B = | 1 0 2 |  by columns; A2 is 3 by 2 so that op sizes differ.
    //     | 2 4 |      | 5 6 7 |
    //     | 0 1 |
    const vec a = {1, 2, 0, 3, 4, 1}, b = {1, 5, 0, 6, 2, 7};
    // A B = | 16 18 23 |
    //       | 22 24 32 |
    //       |  5  6  7 |
    vec c(9, -1.0);
    cblas_dgemmt(CblasColMajor, CblasUpper, CblasNoTrans, CblasNoTrans, 3, 2, 1.0, a.data(), 3, b.data(), 2,
                 0.0, c.data(), 3);
    EXPECT_EQ(c, (vec{16, -1, -1, 18, 24, -1, 23, 32, 7}));
    cblas_dgemmt(CblasColMajor, CblasLower, CblasNoTrans, CblasNoTrans, 3, 2, 1.0, a.data(), 3, b.data(), 2,
                 1.0, c.data(), 3);
    EXPECT_EQ(c, (vec{32, 21, 4, 18, 48, 5, 23, 32, 14}));
}

TEST(Dgemmt, ColumnMajorTransposesAndLeadingDimensions) {
    // op(A) = A' with A 2 by 2 held in columns of 3; op(B) = B' likewise. C held in columns of 4.
    const vec a = {1, 2, 99, 3, 4, 99}, b = {5, 6, 99, 7, 8, 99};
    // A' B' = | 1 2 | | 5 6 | = | 19 22 |
    //         | 3 4 | | 7 8 |   | 43 50 |
    vec c(8, 0.0);
    cblas_dgemmt(CblasColMajor, CblasUpper, CblasTrans, CblasTrans, 2, 2, 1.0, a.data(), 3, b.data(), 3, 0.0,
                 c.data(), 4);
    EXPECT_EQ(c, (vec{19, 0, 0, 0, 22, 50, 0, 0}));
}

TEST(Copies, ColumnMajorAndLeadingDimensions) {
    const vec a = {1, 2, 99, 3, 4, 99, 5, 6, 99};  // 2 by 3 in columns of 3
    vec b(8, 0.0);
    MKL_Domatcopy('C', 'n', 2, 3, 1.0, a.data(), 3, b.data(), 2);
    EXPECT_EQ(b, (vec{1, 2, 3, 4, 5, 6, 0, 0}));
    MKL_Domatcopy('c', 'T', 2, 3, 2.0, a.data(), 3, b.data(), 4);
    EXPECT_EQ(b, (vec{2, 6, 10, 4, 4, 8, 12, 0}));
    MKL_Domatcopy('R', 'X', 2, 3, 2.0, a.data(), 3, b.data(), 4);
    MKL_Domatcopy('X', 'T', 2, 3, 2.0, a.data(), 3, b.data(), 4);
    EXPECT_EQ(b, (vec{2, 6, 10, 4, 4, 8, 12, 0}));
}

TEST(Copies, InPlaceChangesTheLeadingDimension) {
    vec ab = {1, 2, 99, 3, 4, 99};
    MKL_Dimatcopy('R', 'N', 2, 2, 1.0, ab.data(), 3, 2);
    EXPECT_EQ(ab, (vec{1, 2, 3, 4, 4, 99}));
    vec wide = {1, 2, 3, 4, 99, 99};
    MKL_Dimatcopy('R', 'T', 2, 2, 1.0, wide.data(), 2, 3);
    EXPECT_EQ(wide, (vec{1, 3, 3, 2, 4, 99}));
    vec padded = {1, 2, 99, 3, 4, 99};
    MKL_Dimatcopy('R', 'T', 2, 2, 10.0, padded.data(), 3, 3);
    EXPECT_EQ(padded, (vec{10, 30, 99, 20, 40, 99}));
}

TEST(Copies, EveryLetterOfATransposition) {
    const vec a = {1, 2, 3, 4, 5, 6};
    for (const char trans : {'T', 't', 'C', 'c'}) {
        vec b(6, 0.0), ab = a;
        MKL_Domatcopy('R', trans, 2, 3, 1.0, a.data(), 3, b.data(), 2);
        MKL_Dimatcopy('R', trans, 2, 3, 1.0, ab.data(), 3, 2);
        EXPECT_EQ(b, (vec{1, 4, 2, 5, 3, 6})) << trans;
        EXPECT_EQ(ab, b) << trans;
    }
    for (const char trans : {'N', 'n', 'R', 'r'}) {
        vec b(6, 0.0), ab = a;
        MKL_Domatcopy('R', trans, 2, 3, 1.0, a.data(), 3, b.data(), 3);
        MKL_Dimatcopy('R', trans, 2, 3, 1.0, ab.data(), 3, 3);
        EXPECT_EQ(b, a) << trans;
        EXPECT_EQ(ab, a) << trans;
    }
    vec square = {1, 2, 3, 4};
    MKL_Dimatcopy('R', 'C', 2, 2, 1.0, square.data(), 2, 2);
    EXPECT_EQ(square, (vec{1, 3, 2, 4}));
    // The same leading dimension before and after, of a matrix that is not square.
    vec padded = {1, 2, 3, 4, 5, 6, 0, 0, 0};
    MKL_Dimatcopy('R', 'T', 2, 3, 1.0, padded.data(), 3, 3);
    EXPECT_EQ(padded, (vec{1, 4, 3, 2, 5, 6, 3, 6, 0}));
}

TEST(Copies, AnyOtherLetterDoesNothing) {
    const vec a = {1, 2, 3, 4};
    for (const auto& [ordering, trans] : {std::pair{'X', 'N'}, std::pair{'R', 'X'}, std::pair{'C', '\0'}}) {
        vec b(4, 7.0), ab = a;
        MKL_Domatcopy(ordering, trans, 2, 2, 2.0, a.data(), 2, b.data(), 2);
        MKL_Dimatcopy(ordering, trans, 2, 2, 2.0, ab.data(), 2, 2);
        EXPECT_EQ(b, vec(4, 7.0));
        EXPECT_EQ(ab, a);
    }
}

TEST(Copies, AllocationFailureLeavesTheMatrix) {
    vec ab = {1, 2};
    const std::size_t huge = std::numeric_limits<std::size_t>::max() / 8;  // more than a container can hold
    EXPECT_ANY_THROW(MKL_Dimatcopy('R', 'T', huge, 1, 1.0, ab.data(), 1, huge));
    EXPECT_EQ(ab, (vec{1, 2}));
}

struct packing {
    const char *uplo = "U", *trans = "N", *diag = "N";
    integer n = 3, i = 1, j = 1, rows = 3, cols = 3, lda = 3;
    integer info = 7;

    integer pack(vec& ap, const vec& a) {
        mkl_dtppack(uplo, trans, diag, &n, ap.data(), &i, &j, &rows, &cols, a.data(), &lda, &info);
        return info;
    }
    integer unpack(const vec& ap, vec& a) {
        mkl_dtpunpack(uplo, trans, diag, &n, ap.data(), &i, &j, &rows, &cols, a.data(), &lda, &info);
        return info;
    }
};

// | 1 4 7 |
// | 2 5 8 |   by columns
// | 3 6 9 |
const vec nine = {1, 2, 3, 4, 5, 6, 7, 8, 9};

TEST(Packing, TrianglesTranspositionAndDiagonal) {
    vec ap(6, 0.0);
    EXPECT_EQ(packing{}.pack(ap, nine), 0);
    EXPECT_EQ(ap, (vec{1, 4, 5, 7, 8, 9}));
    packing lower;
    lower.uplo = "l";
    EXPECT_EQ(lower.pack(ap, nine), 0);
    EXPECT_EQ(ap, (vec{1, 2, 3, 5, 6, 9}));
    packing transposed;
    transposed.trans = "T";
    EXPECT_EQ(transposed.pack(ap, nine), 0);
    EXPECT_EQ(ap, (vec{1, 2, 5, 3, 6, 9}));
    packing unit;
    unit.diag = "U";
    ap.assign(6, 0.0);
    EXPECT_EQ(unit.pack(ap, nine), 0);
    EXPECT_EQ(ap, (vec{0, 4, 0, 7, 8, 0}));
}

TEST(Packing, PartOfTheTriangle) {
    packing part;  // a 2 by 2 block to rows 1, 2 and columns 2, 3
    part.j = 2;
    part.rows = part.cols = part.lda = 2;
    vec ap(6, 0.0);
    EXPECT_EQ(part.pack(ap, {10, 20, 30, 40}), 0);
    EXPECT_EQ(ap, (vec{0, 10, 20, 30, 40, 0}));
    vec a(4, -1.0);
    EXPECT_EQ(part.unpack({1, 2, 3, 4, 5, 6}, a), 0);
    EXPECT_EQ(a, (vec{2, 3, 4, 5}));
}

TEST(Packing, UnpackUndoesPack) {
    for (const char* uplo : {"U", "L"}) {
        for (const char* trans : {"N", "T"}) {
            packing p;
            p.uplo = uplo;
            p.trans = trans;
            vec ap(6), back(9, -1.0);
            p.pack(ap, nine);
            p.unpack(ap, back);
            EXPECT_EQ(std::count(back.begin(), back.end(), -1.0), 3);
            for (std::size_t k = 0; k < 9; ++k) EXPECT_TRUE(back[k] == -1.0 || back[k] == nine[k]);
        }
    }
}

TEST(Packing, BadArgumentsAreNamedByPlace) {
    vec ap(6, 0.5);
    const auto info_of = [&](auto&& change) {
        packing p;
        change(p);
        return p.pack(ap, nine);
    };
    EXPECT_EQ(info_of([](packing& p) { p.uplo = "X"; }), -1);
    EXPECT_EQ(info_of([](packing& p) { p.trans = "X"; }), -2);
    EXPECT_EQ(info_of([](packing& p) { p.diag = "X"; }), -3);
    EXPECT_EQ(info_of([](packing& p) { p.n = -1; }), -4);
    EXPECT_EQ(info_of([](packing& p) { p.i = 0; }), -6);
    EXPECT_EQ(info_of([](packing& p) { p.i = 4; }), -6);
    EXPECT_EQ(info_of([](packing& p) { p.j = 0; }), -7);
    EXPECT_EQ(info_of([](packing& p) { p.j = 4; }), -7);
    EXPECT_EQ(info_of([](packing& p) { p.rows = -1; }), -8);
    EXPECT_EQ(info_of([](packing& p) { p.i = 2; }), -8);  // three rows from the second one on
    EXPECT_EQ(info_of([](packing& p) { p.cols = 4; }), -9);
    EXPECT_EQ(info_of([](packing& p) { p.j = 2; }), -9);
    EXPECT_EQ(info_of([](packing& p) { p.rows = 4; }), -8);
    EXPECT_EQ(info_of([](packing& p) { p.cols = -1; }), -9);
    EXPECT_EQ(info_of([](packing& p) { p.lda = 2; }), -11);
    EXPECT_EQ(info_of([](packing& p) { p.trans = "T", p.rows = 1, p.lda = 2; }), -11);
    EXPECT_EQ(ap, vec(6, 0.5));
}

TEST(Reproducibility, SettingThreeLeavesOneThread) {
    const int before = openblas_get_num_threads();
    EXPECT_EQ(MKL_CBWR_Set(4), -2);
    EXPECT_EQ(openblas_get_num_threads(), before);
    EXPECT_EQ(MKL_CBWR_Set(3), 0);
    EXPECT_EQ(openblas_get_num_threads(), 1);
    openblas_set_num_threads(before);
}

}  // namespace
