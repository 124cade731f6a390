"""Accuracy of the symmetric eigenproblem, as build/gcc/bin/symmetric_accuracy 100000 prints it."""

VALUES = """
| `32f` | | 50 % | 99 % | all | not converged | above 1000 |
|---|---|---|---|---|---|---|
| 3 | random elements | 1.0 | 4.2 | 1893 | 0.008 % | 0.007 % |
| 3 | two values nearly equal | 0.9 | 3.9 | 2912 | none | 0.02 % |
| 3 | repeated values | 0.9 | 3.8 | 1657 | none | 0.023 % |
| 3 | graded values | 0.9 | 4.9 | 1999 | none | 0.007 % |
| 4 | random elements | 1.3 | 4.4 | 4e+06 | 0.012 % | 0.008 % |
| 4 | two values nearly equal | 1.4 | 8e+05 | 2e+06 | 0.001 % | 15 % |
| 4 | repeated values | 0.8 | 3.8 | 10 | none | none |
| 4 | graded values | 1.0 | 4.8 | 2e+06 | none | 0.003 % |
| 6 | random elements | 1.7 | 4.6 | 6e+06 | 0.014 % | 0.006 % |
| 6 | two values nearly equal | 1.6 | 5e+05 | 2e+06 | 0.003 % | 11 % |
| 6 | repeated values | 1.0 | 3.9 | 40 | none | none |
| 6 | graded values | 1.1 | 674 | 4e+06 | none | 0.38 % |
| 8 | random elements | 1.9 | 4.8 | 2e+06 | 0.01 % | 0.01 % |
| 8 | two values nearly equal | 1.7 | 3e+05 | 3e+06 | 0.011 % | 7.6 % |
| 8 | repeated values | 1.0 | 3.9 | 2e+06 | none | 0.001 % |
| 8 | graded values | 211 | 83734 | 4e+06 | 0.11 % | 7.5 % |

| `64f` | | 50 % | 99 % | all | not converged | above 1000 |
|---|---|---|---|---|---|---|
| 3 | random elements | 1.0 | 4.2 | 9.1 | 0.002 % | none |
| 3 | two values nearly equal | 0.9 | 3.7 | 8.7 | none | none |
| 3 | repeated values | 0.8 | 3.6 | 8.8 | none | none |
| 3 | graded values | 0.8 | 4.8 | 9.0 | none | none |
| 4 | random elements | 1.4 | 4.4 | 9.4 | 0.005 % | none |
| 4 | two values nearly equal | 1.4 | 1e+14 | 1e+15 | none | 11 % |
| 4 | repeated values | 0.8 | 3.6 | 39 | none | none |
| 4 | graded values | 0.9 | 4.7 | 8.3 | none | none |
| 6 | random elements | 1.7 | 4.7 | 8.9 | 0.002 % | none |
| 6 | two values nearly equal | 1.6 | 2e+14 | 1e+15 | 0.002 % | 7.4 % |
| 6 | repeated values | 0.9 | 3.7 | 1e+15 | none | 0.001 % |
| 6 | graded values | 0.9 | 4.3 | 8.9 | none | none |
| 8 | random elements | 1.9 | 5.0 | 8.8 | 0.004 % | none |
| 8 | two values nearly equal | 1.7 | 2e+14 | 9e+14 | 0.005 % | 6.5 % |
| 8 | repeated values | 1.0 | 3.7 | 3e+14 | none | 0.002 % |
| 8 | graded values | 1.0 | 4.2 | 44 | none | none |
"""

VECTORS = """
| `32f` | | 50 % | 99 % | all | orthogonality | not converged | above 1000 |
|---|---|---|---|---|---|---|---|
| 3 | random elements | 1.0 | 2.8 | 9485 | 4.6 | 0.008 % | 0.015 % |
| 3 | two values nearly equal | 1.1 | 8.5 | 2915 | 4.8 | none | 0.039 % |
| 3 | repeated values | 0.6 | 2.2 | 2724 | 4.3 | none | 0.051 % |
| 3 | graded values | 0.8 | 2.9 | 2695 | 5.0 | none | 0.017 % |
| 4 | random elements | 1.3 | 3.1 | 7e+06 | 6.3 | 0.012 % | 0.014 % |
| 4 | two values nearly equal | 1.4 | 1e+06 | 2e+06 | 6.2 | none | 16 % |
| 4 | repeated values | 0.6 | 2.2 | 157 | 4.3 | none | none |
| 4 | graded values | 0.9 | 2.8 | 2378 | 5.9 | none | 0.006 % |
| 6 | random elements | 1.6 | 3.4 | 8e+06 | 5.6 | 0.013 % | 0.012 % |
| 6 | two values nearly equal | 1.6 | 9e+05 | 3e+06 | 7.9 | 0.003 % | 12 % |
| 6 | repeated values | 0.9 | 2.3 | 40 | 4.5 | none | none |
| 6 | graded values | 1.2 | 14429 | 4e+06 | 5.9 | none | 9.2 % |
| 8 | random elements | 1.8 | 3.7 | 4e+06 | 6.5 | 0.01 % | 0.014 % |
| 8 | two values nearly equal | 1.7 | 7e+05 | 3e+06 | 7.9 | 0.011 % | 8.8 % |
| 8 | repeated values | 1.1 | 2.4 | 2318 | 4.6 | none | 0.001 % |
| 8 | graded values | 1858 | 8e+05 | 4e+06 | 5.3 | 0.11 % | 67 % |

| `64f` | | 50 % | 99 % | all | orthogonality | not converged | above 1000 |
|---|---|---|---|---|---|---|---|
| 3 | random elements | 1.7 | 5.1 | 194 | 12 | 0.002 % | none |
| 3 | two values nearly equal | 1.4 | 413 | 3509 | 11 | none | 0.27 % |
| 3 | repeated values | 1.2 | 4.2 | 9.1 | 9.9 | none | none |
| 3 | graded values | 1.3 | 5.2 | 9.5 | 10 | none | none |
| 4 | random elements | 2.4 | 5.6 | 252 | 13 | 0.005 % | none |
| 4 | two values nearly equal | 1.9 | 3e+14 | 1e+15 | 12 | none | 11 % |
| 4 | repeated values | 1.2 | 4.5 | 57 | 8.4 | none | none |
| 4 | graded values | 1.5 | 5.2 | 8.8 | 15 | none | none |
| 6 | random elements | 3.1 | 6.2 | 3119 | 14 | 0.002 % | 0.002 % |
| 6 | two values nearly equal | 2.3 | 4e+14 | 1e+15 | 16 | 0.002 % | 7.4 % |
| 6 | repeated values | 1.7 | 5.2 | 1e+15 | 10 | none | 0.003 % |
| 6 | graded values | 1.6 | 4.9 | 9.3 | 15 | none | none |
| 8 | random elements | 3.6 | 6.7 | 303 | 16 | 0.004 % | none |
| 8 | two values nearly equal | 2.6 | 3e+14 | 1e+15 | 17 | 0.005 % | 6.5 % |
| 8 | repeated values | 2.0 | 5.5 | 8e+14 | 10 | none | 0.002 % |
| 8 | graded values | 1.6 | 4.8 | 4e+08 | 15 | none | 0.002 % |
"""
