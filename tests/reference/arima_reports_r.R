#!/usr/bin/Rscript
# Estimates, standard errors and correlations of fitted models from R's arima(method = "CSS-ML").
#
# Writes arima_reports_r.csv. MA coefficients change sign (R's side is 1 + sum), and with them their
# correlations. `intercept` is R's estimate of the process mean. Orders in fit order: AR, seasonal AR, MA,
# seasonal MA, mean.
folder <- dirname(sub("--file=", "", grep("--file=", commandArgs(FALSE), value = TRUE)))
load_series <- function(name) read.csv(file.path(folder, "..", "..", "data", paste0(name, ".csv")),
                                       comment.char = "#")$value
cases <- list(
  list("lake_huron", FALSE, c(2, 0, 0, 0, 0, 0, 0), TRUE),
  list("lake_huron", FALSE, c(1, 0, 1, 0, 0, 0, 0), TRUE),
  list("nile", FALSE, c(0, 1, 1, 0, 0, 0, 0), FALSE),
  list("bj_series_a", FALSE, c(1, 0, 1, 0, 0, 0, 0), TRUE),
  list("bj_series_a", FALSE, c(0, 1, 1, 0, 0, 0, 0), FALSE),
  list("bj_series_c", FALSE, c(1, 1, 0, 0, 0, 0, 0), FALSE),
  list("bj_series_d", FALSE, c(1, 0, 0, 0, 0, 0, 0), TRUE),
  list("sunspot_year", FALSE, c(2, 0, 0, 0, 0, 0, 0), TRUE),
  list("airline_passengers", TRUE, c(0, 1, 1, 0, 1, 1, 12), FALSE),
  list("co2_mauna_loa", FALSE, c(0, 1, 1, 0, 1, 1, 12), FALSE))
out <- file(file.path(folder, "arima_reports_r.csv"), "w")
writeLines(c("# made by arima_reports_r.R", paste0("# ", R.version.string),
             "series,logs,p,d,q,P,D,Q,s,mean,estimates,errors,correlations,sigma2,loglik"), out)
for (case in cases) {
  x <- load_series(case[[1]]); if (case[[2]]) x <- log(x)
  o <- case[[3]]
  fit <- arima(x, order = o[1:3], seasonal = list(order = o[4:6], period = max(1, o[7])),
               include.mean = case[[4]])
  n <- names(fit$coef)
  take <- c(grep("^ar", n), grep("^sar", n), grep("^ma", n), grep("^sma", n), grep("^intercept", n))
  sign <- ifelse(grepl("^s?ma", n), -1, 1)[take]
  r <- cov2cor(fit$var.coef)[take, take, drop = FALSE] * outer(sign, sign)
  lower <- c(); k <- length(take)
  if (k > 1) for (j in 2:k) for (i in 1:(j - 1)) lower <- c(lower, r[j, i])
  text <- function(v) paste(sprintf("%.10g", v), collapse = ";")
  writeLines(paste(case[[1]], as.integer(case[[2]]), paste(o, collapse = ","), as.integer(case[[4]]),
                   text(fit$coef[take] * sign), text(sqrt(diag(fit$var.coef))[take]), text(lower),
                   sprintf("%.10g", fit$sigma2), sprintf("%.10g", fit$loglik), sep = ","), out)
}
close(out)
