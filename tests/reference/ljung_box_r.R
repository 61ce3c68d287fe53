#!/usr/bin/Rscript
# Ljung-Box statistics and p values from R's Box.test; writes ljung_box_r.csv.
folder <- dirname(sub("--file=", "", grep("--file=", commandArgs(FALSE), value = TRUE)))
load_series <- function(name) read.csv(file.path(folder, "..", "..", "data", paste0(name, ".csv")),
                                       comment.char = "#")$value
out <- file(file.path(folder, "ljung_box_r.csv"), "w")
writeLines(c("# Box.test(type = \"Ljung-Box\"); made by ljung_box_r.R", paste0("# ", R.version.string),
             "series,k,lag,statistic,p"), out)
for (name in c("lake_huron", "nile", "lynx", "airline_passengers", "bj_series_a", "bj_series_b", "sunspot_year",
               "co2_mauna_loa", "us_accidental_deaths", "johnson_johnson", "www_usage", "bj_series_f")) {
  x <- load_series(name)
  for (k in c(0, 2, 10)) for (lag in c(12, 24, 36, 48)) {
    test <- Box.test(diff(x), lag = lag, type = "Ljung-Box", fitdf = k)
    writeLines(paste(name, k, lag, sprintf("%.17g", test$statistic), sprintf("%.17g", test$p.value), sep = ","), out)
  }
}
close(out)
