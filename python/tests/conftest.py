import numpy
import pytest


@pytest.fixture(params=[numpy.float32, numpy.float64], ids=["float32", "float64"])
def dtype(request):
    return numpy.dtype(request.param)


@pytest.fixture
def random():
    return numpy.random.default_rng(7)
