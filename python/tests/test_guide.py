"""The code of the guide, run as it stands there."""

import re
from pathlib import Path

import numpy
import pytest

import tarnm
from support import close, positive

GUIDE = Path(__file__).resolve().parents[2] / "docs" / "guide" / "python.md"


def example(word):
    """The one block of Python with this word."""
    blocks = [block for block in re.findall(r"```python\n(.*?)```", GUIDE.read_text(encoding="utf-8"), re.DOTALL) if word in block]
    assert len(blocks) == 1
    return blocks[0]


def run(word, **names):
    names.update(numpy=numpy, tarnm=tarnm)
    exec(compile(example(word), str(GUIDE), "exec"), names)  # the repository's own text
    return names


def test_first_calls():
    names = run("default_rng")
    # The last call wrote the products into x.
    close(names["x"], numpy.broadcast_to(numpy.eye(3), (1000, 3, 3)), numpy.dtype(numpy.float32), 1e5)
    assert not names["statuses"].any()


def test_normals_of_a_cloud(random):
    normal = numpy.array([1, 2, 2]) / 3
    cloud = random.uniform(-1, 1, (600, 3))
    cloud -= (cloud @ normal)[:, None] * normal * 0.999
    indices = random.integers(0, 600, (50, 12))
    vectors = run("normals", cloud=cloud.astype(numpy.float32), indices=indices)["normals"]
    assert vectors.shape == (50, 3) and (numpy.abs(vectors @ normal) > 0.999).all()


def test_a_bank_of_filters(random):
    count, states, measurements = 40, 6, 3
    f = numpy.eye(states) + 0.1 * random.uniform(-1, 1, (states, states))
    h = random.uniform(-1, 1, (measurements, states))
    q, r = 0.1 * numpy.eye(states), 0.2 * numpy.eye(measurements)
    x, z = random.uniform(-1, 1, (count, states)), random.uniform(-1, 1, (count, measurements))
    p = positive(random, (count, states, states), float)

    predicted = x @ f.T
    spread = f @ p @ f.T + q
    gain = spread @ h.T @ numpy.linalg.inv(h @ spread @ h.T + r)
    expected_x = predicted + numpy.einsum("nij,nj->ni", gain, z - predicted @ h.T)
    expected_p = spread - gain @ h @ spread

    names = run("gain_t", f=f, h=h, q=q, r=r, x=x, z=z, p=p)
    assert not names["statuses"].any()
    close(names["x"], expected_x, numpy.dtype(float), 10000)
    close(names["p"], expected_p, numpy.dtype(float), 10000)


@pytest.mark.parametrize("module", [tarnm, tarnm.geometry], ids=["tarnm", "geometry"])
def test_everything_public_has_a_docstring_and_a_place_in_the_types(module):
    stub = Path(module.__file__).with_suffix(".pyi").read_text(encoding="utf-8")
    names = module.__all__ if hasattr(module, "__all__") else [n for n, f in vars(module).items() if callable(f) and not n.startswith("_")]
    assert len(names) > 25
    for name in names:
        assert getattr(module, name).__doc__, name
        assert re.search(rf"\b{name}\b", stub), name
