"""HermiteOptions: keywords, properties, option strings."""

import copy
import pickle

import numpy as np
import pytest

from qxhermite import HermiteOptions

PROPERTIES = {
    "-NPolyMax": ("npolymax", 12),
    "-LambdaX": ("lambda_x", 0.1),
    "-LambdaY": ("lambda_y", 2.5),
    "-LambdaZ": ("lambda_z", 1 / 3),
    "-UseCenterOfMass": ("use_center_of_mass", True),
    "-UseSingleLambda": ("use_single_lambda", False),
    "-UseOptimalLambdas": ("use_optimal_lambdas", False),
}


def test_the_three_ways_to_set_an_option_agree():
    keywords = HermiteOptions(**dict(PROPERTIES.values()))
    by_string, by_property = HermiteOptions(), HermiteOptions()
    assert list(by_string) == by_string.keys() == list(PROPERTIES)
    for option, (name, value) in PROPERTIES.items():
        assert by_string[option] != value
        by_string[option] = value
        setattr(by_property, name, value)
        assert by_string[option] == value and type(by_string[option]) is type(value)
    text = " ".join(f"{option} {str(value).lower()}" for option, (_, value) in PROPERTIES.items())
    by_text = HermiteOptions()
    by_text.set(text)
    assert keywords == by_string == by_property == by_text != HermiteOptions()
    assert dict(keywords) == dict(keywords.items())

    assert eval(repr(keywords)) == pickle.loads(pickle.dumps(keywords)) == keywords
    other = copy.copy(keywords)
    other.lambdas = 0.5
    assert other.lambdas == (0.5, 0.5, 0.5) and keywords.lambda_x == 0.1
    other.lambdas = np.array([1.0, 2.0, 3.0])
    assert other.lambdas == (1.0, 2.0, 3.0)
    other.npolymax = np.int64(7)
    assert other.npolymax == 7


@pytest.mark.parametrize(
    "name, value, told",
    [
        ("npolymax", 101, "-NPolyMax: 101 is not legal: 0 to 100"),
        ("npolymax", -1, "-NPolyMax: -1"),
        ("npolymax", 5.5, "-NPolyMax: 5.5"),
        ("npolymax", None, "-NPolyMax: None"),
        ("lambda_x", 0, "-LambdaX: 0 is not legal: above 0, finite"),
        ("lambda_y", float("nan"), "-LambdaY: nan"),
        ("lambda_z", "1e999", "-LambdaZ: 1e999"),
        ("use_single_lambda", 1, "-UseSingleLambda: 1 is not legal: true or false"),
        ("lambdas", [1, 2], "one width or three"),
        ("lambdas", [2, 2, -1], "-LambdaZ: -1"),
    ],
)
def test_an_illegal_value_is_refused_and_changes_nothing(name, value, told):
    options = HermiteOptions()
    with pytest.raises(ValueError, match=told):
        setattr(options, name, value)
    if name != "lambdas":
        with pytest.raises(ValueError, match=told):
            HermiteOptions(**{name: value})
    with pytest.raises(ValueError):
        options.set("-NPolyMax 3 -LambdaX 0")
    with pytest.raises(KeyError, match="-NoSuch"):
        options["-NoSuch"] = 1
    with pytest.raises(KeyError):
        options["-NoSuch"]
    with pytest.raises(ValueError, match="pairs"):
        options.set("-NPolyMax")
    assert options == HermiteOptions()
