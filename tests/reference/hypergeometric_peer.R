# Writes hypergeometric_peer.csv: tails and masses of large populations by R's phyper and dhyper.
# Run: Rscript hypergeometric_peer.R > hypergeometric_peer.csv
cat("# Made by hypergeometric_peer.R (", R.version.string, ").\n", sep = "")
cat("x,N,K,n,lower,upper,mass\n")
cases <- rbind(c(1e4, 3e3, 2e3), c(1e5, 4e4, 1e4), c(1e6, 5e5, 1e5), c(1e6, 9e5, 8e5), c(2e6, 1e6, 1e6),
               c(5e6, 2e6, 3e6), c(1e7, 1e6, 5e6), c(1e8, 2e7, 6e7), c(1e9, 4e8, 1e7))
for (i in seq_len(nrow(cases))) {
  N <- cases[i, 1]; K <- cases[i, 2]; n <- cases[i, 3]
  mean <- n * K / N
  sd <- sqrt(mean * (1 - K / N) * (1 - n / N))
  for (z in c(-7.3, -4.1, -2.2, -0.9, -0.1, 0.2, 1.1, 2.6, 4.4, 6.8)) {
    x <- floor(mean + z * sd)
    cat(sprintf("%.0f,%.0f,%.0f,%.0f,%a,%a,%a\n", x, N, K, n, phyper(x - 1, K, N - K, n),
                phyper(x, K, N - K, n, lower.tail = FALSE), dhyper(x, K, N - K, n)))
  }
}
