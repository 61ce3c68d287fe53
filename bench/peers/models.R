# bench/peers/models.R: times R's model functions on the series of bench/support/series.hpp.
# Usage: Rscript models.R FOLDER_OF_SERIES DATA_FOLDER [slow]. Prints lines: row;library;processor seconds per call.
suppressMessages({library(forecast); library(urca)})
arguments <- commandArgs(trailingOnly = TRUE)
series <- function(name) read.csv(file.path(arguments[1], paste0(name, ".csv")))$value
passengers <- ts(read.csv(file.path(arguments[2], "airline_passengers.csv"))$value, frequency = 12)

# Processor time; repeats until 0.2 s of it have gone by.
seconds <- function(call, least = 0.2) {
  count <- 1
  repeat {
    used <- sum(system.time(for (i in seq_len(count)) call())[1:2])
    if (used > least) return(used / count)
    count <- count * 4
  }
}
row <- function(name, library, call, ...) {
  cat(sprintf("%s;%s;%.6e\n", name, library, tryCatch(seconds(call, ...), error = function(e) NA)))
}

y <- log(passengers)
airline <- list(order = c(0, 1, 1), period = 12)
row("fit airline", "R arima CSS", function() arima(y, c(0, 1, 1), seasonal = airline, method = "CSS"))
row("fit airline", "R arima CSS-ML", function() arima(y, c(0, 1, 1), seasonal = airline))
fit <- arima(y, c(0, 1, 1), seasonal = airline, method = "CSS")
row("forecast limits 24 airline", "R predict", function() predict(fit, n.ahead = 24))
for (n in c(200, 2000)) {
  x <- series(paste0("arma_", n))
  row(paste0("fit (2,0,1)+c n=", n), "R arima CSS", function() arima(x, c(2, 0, 1), method = "CSS"))
  row(paste0("fit (2,0,1)+c n=", n), "R arima CSS-ML", function() arima(x, c(2, 0, 1)))
}
for (n in c(500, 2000)) {
  x <- series(paste0("arma_", n))
  fixed <- c(0.5, 0.2, 0.4, mean(x))
  row(paste0("likelihood n=", n), "R arima, all fixed", function() {
    arima(x, c(2, 0, 1), fixed = fixed, transform.pars = FALSE, method = "ML")
  })
}
for (n in c(200, 2000, 20000)) {
  x <- series(paste0("integrated_", n))
  lags <- trunc(12 * (n / 100)^0.25)
  row(paste0("ADF n=", n), "R urca", function() ur.df(x, type = "drift", lags = lags, selectlags = "AIC"))
}
row("Guerrero lambda airline", "R forecast", function() {
  BoxCox.lambda(passengers, method = "guerrero", lower = -1, upper = 2)
})
if ("slow" %in% arguments) {
  x <- ts(series("arma_200"))
  row("order search n=200", "R auto.arima, all orders", function() {
    auto.arima(x, d = 0, seasonal = FALSE, max.p = 5, max.q = 5, max.order = 10, stepwise = FALSE,
               approximation = FALSE)
  }, least = 0)
}
