#!/usr/bin/Rscript
# Exact log likelihoods of ARMA models with fixed coefficients from R's arima(method = "ML").
#
# Writes arma_likelihood_r.csv. R concentrates the innovation variance out, so its value belongs to the
# sigma^2 it reports, which the table carries. Its moving-average side is 1 + sum, so MA coefficients change
# sign on the way in; its seasonal product has the other cross-term sign, so no model has a regular and a
# seasonal coefficient on the same side. No differences (R's prior for them is diffuse), no mean.
folder <- dirname(sub("--file=", "", grep("--file=", commandArgs(FALSE), value = TRUE)))
load_series <- function(name) read.csv(file.path(folder, "..", "..", "data", paste0(name, ".csv")),
                                       comment.char = "#")$value
cases <- list(
  list("lake_huron", 579, c(1, 0, 0, 0, 0), c(0.84)),
  list("lake_huron", 579, c(2, 0, 0, 0, 0), c(1.05, -0.26)),
  list("lake_huron", 579, c(1, 1, 0, 0, 0), c(0.74, -0.32)),
  list("lake_huron", 579, c(0, 3, 0, 0, 0), c(-1, -0.7, -0.4)),
  list("lynx", 1500, c(2, 0, 0, 0, 0), c(1.15, -0.6)),
  list("lynx", 1500, c(4, 1, 0, 0, 0), c(1.1, -0.7, 0.15, -0.2, 0.1)),
  list("lynx", 1500, c(5, 5, 0, 0, 0), c(0.5, -0.2, 0.1, -0.1, 0.05, -0.3, 0.1, 0.05, -0.1, 0.02)),
  list("nile", 919, c(1, 1, 0, 0, 0), c(0.86, 0.52)),
  list("nile", 919, c(0, 2, 0, 0, 0), c(-0.4, -0.2)),
  list("us_accidental_deaths", 8700, c(2, 0, 0, 1, 12), c(0.5, 0.2, -0.4)),
  list("us_accidental_deaths", 8700, c(0, 2, 1, 0, 12), c(-0.5, -0.3, 0.6)),
  list("us_accidental_deaths", 8700, c(0, 0, 1, 1, 12), c(0.7, 0.2)),
  list("us_accidental_deaths", 8700, c(0, 0, 2, 2, 6), c(0.1, 0.5, 0.1, -0.2)),
  list("sunspot_year", 47, c(2, 2, 0, 0, 0), c(1.3, -0.6, 0.1, 0.05)),
  list("sunspot_year", 47, c(3, 0, 0, 1, 11), c(1.2, -0.4, -0.1, -0.2)),
  list("uk_gas", 330, c(0, 1, 1, 0, 4), c(-0.3, 0.9)))
out <- file(file.path(folder, "arma_likelihood_r.csv"), "w")
writeLines(c("# arima(method = \"ML\", fixed =); made by arma_likelihood_r.R",
             paste0("# ", R.version.string),
             "series,shift,p,q,P,Q,s,coefficients,sigma2,log_likelihood"), out)
for (case in cases) {
  order <- case[[3]]
  p <- order[1]; q <- order[2]; P <- order[3]; Q <- order[4]; s <- order[5]
  x <- load_series(case[[1]]) - case[[2]]
  sign <- c(rep(1, p), rep(-1, q), rep(1, P), rep(-1, Q))
  fit <- arima(x, order = c(p, 0, q), seasonal = list(order = c(P, 0, Q), period = max(s, 1)),
               include.mean = FALSE, method = "ML", fixed = case[[4]] * sign, transform.pars = FALSE,
               SSinit = "Rossignol2011")
  writeLines(paste(case[[1]], case[[2]], p, q, P, Q, s, paste(case[[4]], collapse = ";"),
                   sprintf("%.17g", fit$sigma2), sprintf("%.17g", fit$loglik), sep = ","), out)
}
close(out)
