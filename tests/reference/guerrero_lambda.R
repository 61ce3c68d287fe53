# Guerrero's lambda by another program: forecast::BoxCox.lambda(method = "guerrero") on the committed series.
#
#   Rscript tests/reference/guerrero_lambda.R      (from the root of the checkout)
#
# R's optimize() is the same published minimiser with tolerance .Machine$double.eps^0.25 = 2^-13, and the
# groups are cut by the same rule (aligned to the end, length = frequency, at least 2). With that tolerance
# the two programs visit the same points up to rounding. Series whose best lambda is an end of the interval
# stand in the table too: optimize() stops short of the end there, by at most twice its tolerance.
suppressPackageStartupMessages(library(forecast))

cases <- list(
  c("airline_passengers", 12), c("bj_series_a", 2), c("bj_series_b", 5), c("bj_series_c", 2),
  c("bj_series_d", 10), c("bj_series_f", 7), c("bj_series_m_sales", 3), c("co2_mauna_loa", 12),
  c("johnson_johnson", 4), c("lake_huron", 2), c("lynx", 10), c("nile", 2),
  c("nottingham_temperature", 12), c("uk_driver_deaths", 12), c("uk_gas", 4), c("uk_lung_deaths", 12),
  c("us_accidental_deaths", 12), c("us_log_real_gnp", 4), c("us_real_gdp", 4), c("www_usage", 2))

out <- file("tests/reference/guerrero_lambda.csv", "w")
writeLines(c(
  "# Made by guerrero_lambda.R: BoxCox.lambda(x, method = \"guerrero\", lower, upper) and the objective there.",
  sprintf("# %s, forecast %s", R.version.string, packageVersion("forecast")),
  "series,group_length,lower,upper,lambda,objective,objective_lower,objective_upper"), out)
for (case in cases) {
  x <- read.csv(file.path("data", paste0(case[1], ".csv")))$value
  x <- ts(x, frequency = as.integer(case[2]))
  for (interval in list(c(-1, 2), c(-2, 3), c(0, 1))) {
    lambda <- BoxCox.lambda(x, method = "guerrero", lower = interval[1], upper = interval[2])
    f <- function(l) forecast:::guer.cv(l, x, 2)
    writeLines(sprintf("%s,%s,%g,%g,%.17g,%.17g,%.17g,%.17g", case[1], case[2], interval[1], interval[2], lambda,
                       f(lambda), f(interval[1]), f(interval[2])), out)
  }
}
close(out)
