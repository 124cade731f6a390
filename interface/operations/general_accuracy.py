"""Accuracy of the general eigenproblem, as build/gcc/bin/general_accuracy 20000 prints it."""

VECTORS = """
| `32f` | | 50 % | 99 % | all | not converged | above 1000 |
|---|---|---|---|---|---|---|
| 3 | random elements | 1.7 | 4.2 | 7.7 | none | none |
| 3 | graded by rows and columns | 1.1 | 3.8 | 9e+05 | none | 0.01 % |
| 3 | far from normal | 1.2 | 3.1 | 5e+06 | none | 0.01 % |
| 3 | nearly defective | 1.5 | 4.8 | 3e+06 | none | 0.005 % |
| 3 | random elements of 1e-3 | 1.7 | 4.2 | 4e+06 | none | 0.025 % |
| 3 | random elements of 1e-8 | 2.3 | 4e+06 | 7e+06 | none | 33 % |
| 4 | random elements | 2.1 | 4.6 | 7.8 | none | none |
| 4 | graded by rows and columns | 1.1 | 3.9 | 1e+06 | none | 0.41 % |
| 4 | far from normal | 1.8 | 3.9 | 3e+06 | none | 0.005 % |
| 4 | nearly defective | 1.6 | 4.2 | 8.5 | none | none |
| 4 | random elements of 1e-3 | 2.1 | 4.5 | 4e+06 | none | 0.015 % |
| 4 | random elements of 1e-8 | 2.5 | 3e+06 | 6e+06 | none | 29 % |
| 6 | random elements | 2.4 | 4.6 | 8.2 | none | none |
| 6 | graded by rows and columns | 16 | 31184 | 2e+06 | none | 13 % |
| 6 | far from normal | 1.9 | 3.6 | 1e+06 | none | 0.005 % |
| 6 | nearly defective | 1.6 | 4.1 | 6.7 | none | none |
| 6 | random elements of 1e-3 | 2.4 | 4.6 | 3e+06 | none | 0.02 % |
| 6 | random elements of 1e-8 | 2.6 | 2e+06 | 4e+06 | none | 18 % |
| 8 | random elements | 2.5 | 4.7 | 7.7 | none | none |
| 8 | graded by rows and columns | 10 | 30500 | 1e+06 | none | 14 % |
| 8 | far from normal | 1.8 | 3.3 | 5.0 | none | none |
| 8 | nearly defective | 1.6 | 4.0 | 6.4 | none | none |
| 8 | random elements of 1e-3 | 2.5 | 4.6 | 2e+06 | none | 0.02 % |
| 8 | random elements of 1e-8 | 2.7 | 1e+06 | 3e+06 | none | 14 % |

| `64f` | | 50 % | 99 % | all | not converged | above 1000 |
|---|---|---|---|---|---|---|
| 3 | random elements | 2.1 | 5.0 | 9.5 | none | none |
| 3 | graded by rows and columns | 1.6 | 5.4 | 9.1 | none | none |
| 3 | far from normal | 1.5 | 3.8 | 6.2 | none | none |
| 3 | nearly defective | 1.8 | 5.6 | 9.4 | none | none |
| 3 | random elements of 1e-3 | 2.0 | 5.0 | 8.9 | none | none |
| 3 | random elements of 1e-8 | 2.0 | 5.1 | 10 | none | none |
| 4 | random elements | 2.5 | 5.4 | 9.7 | none | none |
| 4 | graded by rows and columns | 1.7 | 5.7 | 11 | none | none |
| 4 | far from normal | 2.1 | 4.6 | 7.3 | none | none |
| 4 | nearly defective | 1.9 | 5.1 | 9.2 | none | none |
| 4 | random elements of 1e-3 | 2.5 | 5.4 | 8.7 | none | none |
| 4 | random elements of 1e-8 | 2.5 | 5.4 | 11 | none | none |
| 6 | random elements | 2.9 | 5.8 | 11 | none | none |
| 6 | graded by rows and columns | 1.7 | 5.8 | 9.4 | none | none |
| 6 | far from normal | 2.2 | 4.3 | 7.5 | none | none |
| 6 | nearly defective | 2.0 | 5.1 | 8.8 | none | none |
| 6 | random elements of 1e-3 | 2.9 | 5.7 | 10 | none | none |
| 6 | random elements of 1e-8 | 2.9 | 5.7 | 10 | none | none |
| 8 | random elements | 3.0 | 5.7 | 10 | none | none |
| 8 | graded by rows and columns | 1.7 | 5.7 | 6e+10 | none | 0.04 % |
| 8 | far from normal | 2.1 | 3.9 | 7.4 | none | none |
| 8 | nearly defective | 2.1 | 5.1 | 9.2 | none | none |
| 8 | random elements of 1e-3 | 3.0 | 5.9 | 12 | none | none |
| 8 | random elements of 1e-8 | 3.0 | 5.7 | 9.4 | none | none |
"""
