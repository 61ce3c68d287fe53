# Writes arima_fits_ml.csv: maximum likelihood estimates of R's stats::arima for series of data/.
#
# theta holds AR, seasonal AR, MA, seasonal MA in the sign convention 1 - b1 B on the MA side, then the mean of
# a model that has one; se the standard errors in the same order.
#
#   Rscript tests/reference/arima_fits_ml.R > tests/reference/arima_fits_ml.csv    (from the project's root)
cases <- list(
  list("airline_passengers", "log", c(0, 1, 1, 0, 1, 1, 12), FALSE),
  list("bj_series_a", "", c(1, 0, 1, 0, 0, 0, 0), TRUE),
  list("bj_series_a", "", c(0, 1, 1, 0, 0, 0, 0), FALSE),
  list("bj_series_b", "", c(0, 1, 1, 0, 0, 0, 0), FALSE),
  list("bj_series_c", "", c(1, 1, 0, 0, 0, 0, 0), FALSE),
  list("bj_series_c", "", c(0, 2, 2, 0, 0, 0, 0), FALSE),
  list("bj_series_d", "", c(1, 0, 0, 0, 0, 0, 0), TRUE),
  list("bj_series_d", "", c(0, 1, 1, 0, 0, 0, 0), FALSE),
  list("bj_series_e", "", c(2, 0, 0, 0, 0, 0, 0), TRUE),
  list("bj_series_e", "", c(3, 0, 0, 0, 0, 0, 0), TRUE),
  list("bj_series_f", "", c(2, 0, 0, 0, 0, 0, 0), TRUE),
  list("us_accidental_deaths", "", c(0, 1, 1, 0, 1, 1, 12), FALSE),
  list("lake_huron", "", c(2, 0, 0, 0, 0, 0, 0), TRUE),
  list("lake_huron", "", c(1, 0, 1, 0, 0, 0, 0), TRUE),
  list("lynx", "log", c(2, 0, 0, 0, 0, 0, 0), TRUE),
  list("sunspot_year", "sqrt", c(2, 0, 0, 0, 0, 0, 0), TRUE),
  list("www_usage", "", c(1, 1, 1, 0, 0, 0, 0), FALSE),
  list("www_usage", "", c(3, 1, 0, 0, 0, 0, 0), FALSE),
  list("nile", "", c(1, 0, 1, 0, 0, 0, 0), TRUE),
  list("uk_driver_deaths", "log", c(1, 1, 1, 0, 1, 1, 12), FALSE),
  list("co2_mauna_loa", "", c(0, 1, 1, 0, 1, 1, 12), FALSE))

cat("# Made by arima_fits_ml.R under", R.version.string, "- do not edit.\n")
cat("series,transform,orders,constant,theta,se,sigma2\n")
digits <- function(x) paste(format(unname(x), digits = 12, trim = TRUE), collapse = " ")
for (case in cases) {
  x <- read.csv(file.path("data", paste0(case[[1]], ".csv")), comment.char = "#")$value
  if (case[[2]] == "log") x <- log(x)
  if (case[[2]] == "sqrt") x <- sqrt(x)
  o <- case[[3]]
  fit <- arima(x, order = o[1:3], seasonal = list(order = o[4:6], period = max(o[7], 1)),
               include.mean = case[[4]], method = "ML", optim.control = list(reltol = 1e-12, maxit = 1000))
  index <- c(seq_len(o[1]), o[1] + o[3] + seq_len(o[4]), o[1] + seq_len(o[3]),
             o[1] + o[3] + o[4] + seq_len(o[6]))
  sign <- rep(c(1, 1, -1, -1), o[c(1, 4, 3, 6)])
  theta <- coef(fit)[index] * sign
  se <- sqrt(diag(vcov(fit)))[index]
  if (case[[4]]) {
    theta <- c(theta, coef(fit)[["intercept"]])
    se <- c(se, sqrt(diag(vcov(fit)))[["intercept"]])
  }
  cat(paste(case[[1]], case[[2]], paste(o, collapse = " "), as.integer(case[[4]]), digits(theta), digits(se),
            digits(fit$sigma2), sep = ","), "\n", sep = "")
}
