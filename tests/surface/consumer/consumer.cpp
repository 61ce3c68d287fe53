#include <cstdio>
#include <zolv.h>

int main() {
    zolv_UnitRootTest test, other;
    other = test;  // an exported member
    std::printf("%d %.17g\n", zolv_IsNaN(other.statistic), zolv_NormalCdf(0.0, 0.0, 1.0, 1));
}
