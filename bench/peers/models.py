"""bench/peers/models.py: times statsmodels on the series of bench/support/series.hpp.

Usage: models.py FOLDER_OF_SERIES DATA_FOLDER [slow]. Prints lines: row;library;processor seconds per call.
"""
import csv
import sys
import time
import warnings

import numpy as np
from statsmodels.tsa.arima.model import ARIMA
from statsmodels.tsa.innovations.arma_innovations import arma_loglike
from statsmodels.tsa.stattools import adfuller, arma_order_select_ic

warnings.filterwarnings("ignore")


def values(file):
    with open(file) as lines:
        return np.array([float(row["value"]) for row in csv.DictReader(lines)])


def series(name):
    return values(f"{sys.argv[1]}/{name}.csv")


def row(name, library, call, least=0.2):
    """Processor time; repeats until `least` seconds of it have gone by."""
    count = 1
    while True:
        start = time.process_time()
        for _ in range(count):
            call()
        elapsed = time.process_time() - start
        if elapsed > least:
            break
        count *= 4
    print(f"{name};{library};{elapsed / count:.6e}", flush=True)


airline = np.log(values(f"{sys.argv[2]}/airline_passengers.csv"))
model = dict(order=(0, 1, 1), seasonal_order=(0, 1, 1, 12))
row("fit airline", "statsmodels ARIMA", lambda: ARIMA(airline, **model).fit())
row("fit airline", "statsmodels innovations MLE", lambda: ARIMA(airline, **model).fit(method="innovations_mle"))
fit = ARIMA(airline, **model).fit()
row("forecast limits 24 airline", "statsmodels", lambda: fit.get_forecast(24).conf_int())
for n in (200, 2000):
    x = series(f"arma_{n}")
    row(f"fit (2,0,1)+c n={n}", "statsmodels ARIMA", lambda: ARIMA(x, order=(2, 0, 1)).fit())
for n in (500, 2000):
    x = series(f"arma_{n}")
    centred = x - x.mean()
    row(f"likelihood n={n}", "statsmodels innovations", lambda: arma_loglike(centred, [0.5, 0.2], [0.4], 1.0))
for n in (200, 2000, 20000):
    x = series(f"integrated_{n}")
    lags = int(12 * (n / 100) ** 0.25)
    row(f"ADF n={n}", "statsmodels", lambda: adfuller(x, maxlag=lags, regression="c", autolag="AIC"))
if "slow" in sys.argv:
    x = series("arma_200")
    row("order search n=200", "statsmodels arma_order_select_ic",
        lambda: arma_order_select_ic(x, max_ar=5, max_ma=5, ic="aic", trend="c"), least=0.0)
