"""All rows of the registry, and the members that follow from them."""

from grammar import expand
from operations import eigen, elementwise, factor, geometry, matrixfunc, movement, products, vector

ROWS = (
    elementwise.ROWS
    + products.ROWS
    + vector.ROWS
    + movement.ROWS
    + matrixfunc.ROWS
    + factor.ROWS
    + eigen.ROWS
    + geometry.ROWS
)


def members():
    return expand(ROWS)


def implemented():
    return [member for member in members() if member.implemented]
