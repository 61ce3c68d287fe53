// tests/golden/table.hpp: compares digests with the committed table, or writes the table.
//
// What a digest depends on besides this library:
//   nothing  + - * / and sqrt, which IEEE 754 rounds alike everywhere;
//   libm     exp, log and pow. glibc picks variants by the processor (with and without fused multiply-add);
//   blas     dot products, products and solves of the provider, which picks its kernels by the processor;
//            such rows may depend on libm too.
// The table therefore holds fingerprints of both: hashes of what exp, log and pow, and the provider, give on
// a fixed grid, called directly. A row is compared when the fingerprints of what it depends on are those of
// the table. Where they are not (another processor or C library) the row is computed twice and must repeat;
// array forms and the search must give one digest for teams of 1, 2 and 7 threads in either case.
//
// The environment of the program decides what else happens:
//   ZOLV_GOLDEN_WRITE=FILE   writes the table there and compares nothing (scripts/golden.sh does this);
//   ZOLV_GOLDEN_DUMP=FOLDER  writes the values of each row to a file there, to be compared between two
//   builds.
#pragma once

#include <gtest/gtest.h>

#include <cinttypes>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "frame/provider.hpp"
#include "golden/digest.hpp"
#include "support/reference_table.hpp"
#include "support/threads.hpp"

namespace golden {

enum class needs { nothing, libm, blas };

inline const char* name_of(needs what) {
    return what == needs::nothing ? "nothing" : what == needs::libm ? "libm" : "blas";
}

struct row {
    std::string group, name, regime;
    needs what;
    std::uint64_t count, hash;
};

inline void libm_fingerprint(digest& to) {
    stream random("libm fingerprint");
    for (const double x : random.between(-700.0, 700.0, 2000) + random.between(-2.0, 2.0, 2000))
        to(std::exp(x));
    for (const double x : random.magnitudes(-1000, 1000, 2000) + random.between(0.5, 2.0, 2000))
        to(std::log(x));
    const list bases = random.magnitudes(-20, 20, 2000) + random.between(0.5, 2.0, 2000);
    const list exponents = random.between(-20.0, 20.0, 4000);
    for (std::size_t i = 0; i < bases.size(); ++i) to(std::pow(bases[i], exponents[i]));
}

// The calls that the library makes itself, at the sizes of the grid.
inline void blas_fingerprint(digest& to) {
    stream random("blas fingerprint");
    for (int size = 1; size <= 40; ++size) {
        const list a = random.between(-1.0, 1.0, size * size), x = random.between(-1.0, 1.0, size);
        list b(a.size()), y = x, lu = a, solution = x;
        const auto n = static_cast<zolv::provider::integer>(size);
        to(cblas_ddot(n, a.data(), 1, x.data(), 1));
        cblas_daxpy(n, 0.3, a.data(), 1, y.data(), 1);
        to(y);
        cblas_dgemv(CblasRowMajor, CblasNoTrans, n, n, 0.7, a.data(), n, x.data(), 1, 0.1, y.data(), 1);
        to(y);
        cblas_dgemm(CblasRowMajor, CblasNoTrans, CblasTrans, n, n, n, 1.0, a.data(), n, a.data(), n, 0.0,
                    b.data(), n);
        to(b);
        std::vector<zolv::provider::integer> pivots(static_cast<std::size_t>(size));
        to(static_cast<double>(
            LAPACKE_dgesv(LAPACK_ROW_MAJOR, n, 1, lu.data(), n, pivots.data(), solution.data(), 1)));
        to(solution);
        for (std::size_t i = 0; i < x.size(); ++i) b[i * x.size() + i] += 1.0;
        to(static_cast<double>(LAPACKE_dpotrf(LAPACK_ROW_MAJOR, 'L', n, b.data(), n)));
        to(b);
    }
    const list a = random.between(-1.0, 1.0, 700), x = random.between(-1.0, 1.0, 700);
    for (int n = 50; n <= 700; n += 13) to(cblas_ddot(n, a.data(), 1, x.data(), 1));
}

class table {
public:
    static table& instance() {
        static table only;
        return only;
    }

    // Computes the row and settles it; returns its hash.
    std::uint64_t add(const std::string& group, const std::string& name, const std::string& regime,
                      needs what, const std::function<void(digest&)>& work) {
        digest first(dump_file(name, regime));
        work(first);
        const row got = {group, name, regime, what, first.count(), first.hash()};
        if (writing()) {
            rows_.push_back(got);
        } else {
            compare(got, work);
        }
        return got.hash;
    }

    // The same row from teams of 1, 2 and 7 threads.
    void add_for_teams(const std::string& group, const std::string& name, const std::string& regime,
                       needs what, const std::function<void(digest&)>& work) {
        std::uint64_t alone = 0;
        for (const int size : zolv_test::team_sizes) {
            zolv_test::with_threads(size, [&] {
                if (size == 1) {
                    alone = add(group, name, regime, what, work);
                } else {
                    digest team;
                    work(team);
                    EXPECT_EQ(team.hash(), alone) << name << " " << regime << ": " << size << " threads";
                }
            });
        }
    }

    // After the last row of a group: the table has no other.
    void finish(const std::string& group) {
        if (writing()) return;
        for (const auto& [key, want] : committed_) {
            if (want.group == group) {
                EXPECT_EQ(seen_.count(key), 1u) << key << ": in tests/golden/digests.csv, not computed";
            }
        }
    }

    bool writing() const { return write_to_ != nullptr; }
    bool comparable(needs what) const {
        return what == needs::nothing || (same_libm_ && (what == needs::libm || same_blas_));
    }
    const std::map<std::string, row>& committed() const { return committed_; }

    // False if the file cannot be written.
    bool write() const {
        std::FILE* file = std::fopen(write_to_, "w");
        if (file == nullptr) return false;
        std::fprintf(file,
                     "# Digests of result bits; written by scripts/golden.sh, compared by "
                     "tests/golden/golden_test.cpp.\n"
                     "group,name,regime,needs,count,digest\n");
        const auto print = [file](const char* group, const char* name, const char* regime, needs what,
                                  std::uint64_t count, std::uint64_t hash) {
            std::fprintf(file, "%s,%s,%s,%s,%" PRIu64 ",%016" PRIx64 "\n", group, name, regime, name_of(what),
                         count, hash);
        };
        print("fingerprint", "libm", "exp log pow", needs::libm, libm_.count(), libm_.hash());
        print("fingerprint", "blas", "ddot daxpy dgemv dgemm dgesv dpotrf", needs::blas, blas_.count(),
              blas_.hash());
        for (const row& r : rows_) {
            print(r.group.c_str(), r.name.c_str(), r.regime.c_str(), r.what, r.count, r.hash);
        }
        return std::fclose(file) == 0;
    }

private:
    table() : write_to_(std::getenv("ZOLV_GOLDEN_WRITE")), dump_to_(std::getenv("ZOLV_GOLDEN_DUMP")) {
        libm_fingerprint(libm_);
        blas_fingerprint(blas_);
        if (writing()) return;
        const zolv_test::reference_table text("digests", ZOLV_TEST_REFERENCE "/../golden");
        for (std::size_t i = 0; i < text.size(); ++i) {
            const std::string& kind = text.text(i, "needs");
            const row r = {text.text(i, "group"),
                           text.text(i, "name"),
                           text.text(i, "regime"),
                           kind == "nothing" ? needs::nothing
                           : kind == "libm"  ? needs::libm
                                             : needs::blas,
                           std::strtoull(text.text(i, "count").c_str(), nullptr, 10),
                           std::strtoull(text.text(i, "digest").c_str(), nullptr, 16)};
            if (r.group != "fingerprint") {
                committed_[r.name + "," + r.regime] = r;
            } else if (r.what == needs::libm) {
                same_libm_ = r.hash == libm_.hash();
            } else {
                same_blas_ = r.hash == blas_.hash();
            }
        }
    }

    void compare(const row& got, const std::function<void(digest&)>& work) {
        const std::string key = got.name + "," + got.regime;
        seen_.insert(key);
        const auto at = committed_.find(key);
        if (at == committed_.end()) {
            ADD_FAILURE() << key << ": not in tests/golden/digests.csv; see scripts/golden.sh";
            return;
        }
        EXPECT_EQ(got.count, at->second.count) << key << ": number of values";
        if (comparable(got.what)) {
            EXPECT_EQ(got.hash, at->second.hash) << key << ": digest of the bits";
            return;
        }
        digest again;
        work(again);
        EXPECT_EQ(got.hash, again.hash()) << key << ": a second run";
    }

    std::string dump_file(const std::string& name, const std::string& regime) const {
        if (dump_to_ == nullptr) return {};
        std::string file = name + " " + regime;
        for (char& c : file) {
            if (c == ' ' || c == '/') c = '_';
        }
        return std::string(dump_to_) + "/" + file + ".txt";
    }

    const char* write_to_;
    const char* dump_to_;
    digest libm_, blas_;
    bool same_libm_ = false, same_blas_ = false;
    std::vector<row> rows_;
    std::map<std::string, row> committed_;
    std::set<std::string> seen_;
};

}  // namespace golden
