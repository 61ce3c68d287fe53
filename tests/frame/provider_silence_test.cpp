// What the provider is given in place of the C library's prints: the answer of a call that went well, and
// nothing printed.
#ifndef ZOLV_PROVIDER_MKL

#    include <gtest/gtest.h>

#    include <cstddef>
#    include <cstdio>

#    include "frame/provider.hpp"

extern "C" {
int __wrap_printf(const char* format, ...);
int __wrap_fprintf(void* stream, const char* format, ...);
int __wrap___printf_chk(int flag, const char* format, ...);
int __wrap___fprintf_chk(void* stream, int flag, const char* format, ...);
int __wrap_puts(const char* text);
int __wrap_putchar(int character);
int __wrap_fputs(const char* text, void* stream);
int __wrap_fputc(int character, void* stream);
std::size_t __wrap_fwrite(const void* data, std::size_t size, std::size_t count, void* stream);
void __wrap_perror(const char* text);
int xerbla_(const char* routine, blasint* info, blasint length);
void cblas_xerbla(blasint argument, char* routine, char* form, ...);
void LAPACKE_xerbla(const char* routine, lapack_int info);
}

namespace {

template <class Calls>
void expect_silence(const Calls& calls) {
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    calls();
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST(ProviderSilence, PrintsSucceedAndPrintNothing) {
    expect_silence([] {
        EXPECT_EQ(__wrap_printf("%d", 1), 0);
        EXPECT_EQ(__wrap_fprintf(stderr, "%d", 1), 0);
        EXPECT_EQ(__wrap___printf_chk(1, "%d", 1), 0);
        EXPECT_EQ(__wrap___fprintf_chk(stderr, 1, "%d", 1), 0);
        EXPECT_GE(__wrap_puts("text"), 0);
        EXPECT_EQ(__wrap_putchar('x'), 'x');
        EXPECT_GE(__wrap_fputs("text", stdout), 0);
        EXPECT_EQ(__wrap_fputc('x', stdout), 'x');
        EXPECT_EQ(__wrap_fwrite("text", 2, 2, stdout), 2u);
        __wrap_perror("text");
        std::fflush(nullptr);
    });
}

TEST(ProviderSilence, ErrorReportersPrintNothing) {
    expect_silence([] {
        blasint info = 3;
        char routine[] = "dgemm", form[] = "%d";
        EXPECT_EQ(xerbla_("DGEMM ", &info, 6), 0);
        cblas_xerbla(3, routine, form, 1);
        LAPACKE_xerbla("LAPACKE_dgesv", -3);
        std::fflush(nullptr);
    });
}

// A layout that there is none of is reported by its code alone.
TEST(ProviderSilence, RefusedArgumentsComeBackAsCodes) {
    expect_silence([] {
        double a[1] = {2.0}, b[1] = {6.0};
        zolv::provider::integer pivot = 0;
        EXPECT_EQ(LAPACKE_dgesv(42, 1, 1, a, 1, &pivot, b, 1), -1);
        EXPECT_EQ(b[0], 6.0);
    });
}

}  // namespace

#endif
