"""measures_test.py: the measures find what was put into a signal."""

import unittest

import numpy as np

import figures
import signals
import worst
from measures import FLOOR, decibels, null_test, power_spectrum, tone
from spectrogram import HEIGHT, WIDTH, draw, levels

RATE = 48000
START = RATE // 4


def seconds(signal_of, frames=RATE * 3 // 2):
    return signal_of(np.arange(frames) / RATE)


class Tone(unittest.TestCase):
    def test_a_clean_tone_has_no_residual(self):
        found = tone(signals.sine(1000, RATE, RATE * 3 // 2), 1000, RATE, signals.AMPLITUDE, START)
        self.assertAlmostEqual(found["gain"], 0, places=9)
        self.assertAlmostEqual(found["phase"], 0, places=9)
        self.assertLess(found["residual"], -290)

    def test_gain_phase_and_an_alias_are_found(self):
        output = seconds(lambda t: 0.25 * np.sin(2 * np.pi * 997 * t + np.pi / 6) + 0.0005 * np.cos(2 * np.pi * 15000 * t))
        found = tone(output, 997, RATE, 0.5, START)
        self.assertAlmostEqual(found["gain"], -6.0206, places=4)
        self.assertAlmostEqual(found["phase"], 30, places=6)
        self.assertAlmostEqual(found["spur"], -60, places=6)
        self.assertAlmostEqual(found["residual"], -60, places=6)

    def test_two_errors_add_as_power(self):
        output = seconds(lambda t: 0.5 * np.sin(2 * np.pi * 500 * t) + 0.001 * np.sin(2 * np.pi * 1000 * t) + 0.001 * np.sin(2 * np.pi * 1500 * t))
        found = tone(output, 500, RATE, 0.5, START)
        self.assertAlmostEqual(found["residual"], -50.969, places=3)
        self.assertAlmostEqual(found["spur"], -53.979, places=3)

    def test_above_half_the_rate_all_is_residual(self):
        found = tone(seconds(lambda t: 0.005 * np.sin(2 * np.pi * 3000 * t)), 30000, RATE, 0.5, START)
        self.assertIsNone(found["gain"])
        self.assertAlmostEqual(found["residual"], -40, places=6)

    def test_too_short_an_output_is_refused(self):
        with self.assertRaises(ValueError):
            tone(np.zeros(RATE), 1000, RATE, 0.5, START)


class Others(unittest.TestCase):
    def test_decibels_end_at_the_floor(self):
        self.assertEqual(decibels(0), FLOOR)
        self.assertAlmostEqual(decibels(0.1), -20)

    def test_a_spectrum_shows_a_tone_at_its_level(self):
        spectrum = power_spectrum(signals.sine(6000, RATE, 10 * RATE, 0.01), 2048)
        self.assertAlmostEqual(spectrum[256], -40, places=6)
        self.assertLess(spectrum[600], -150)

    def test_a_null_test_measures_the_difference(self):
        original = np.ones(1000)
        self.assertEqual(null_test(original, original * 1.01), {"rms": decibels(1.01 - 1), "peak": decibels(1.01 - 1)})

    def test_a_sweep_ends_at_half_the_rate(self):
        sweep = signals.sweep(8000, 4)
        crossings = np.count_nonzero(np.diff(np.signbit(sweep[-800:])))
        self.assertAlmostEqual(crossings, 0.9875 * 800, delta=2)

    def test_frequencies_are_whole_and_reach_both_ends(self):
        for pair in figures.PAIRS:
            frequencies = figures.test_frequencies(*pair)
            self.assertEqual(frequencies, sorted(set(frequencies)))
            self.assertEqual(frequencies[0], 20)
            self.assertLess(frequencies[-1], pair[0] / 2)
            self.assertGreater(frequencies[-1], 0.95 * min(pair) / 2)

    def test_a_picture_is_brightest_where_the_tone_is(self):
        rows = levels(signals.sine(12000, RATE, RATE))
        self.assertEqual(rows.shape, (HEIGHT, WIDTH))
        self.assertAlmostEqual(int(np.argmax(rows[:, WIDTH // 2])), HEIGHT // 2, delta=1)
        self.assertEqual(draw(np.zeros(RATE), 0.5).getextrema(), (0, 0))


class Worst(unittest.TestCase):
    STORED = {"high normal": {"noise": -150.0, "alias": -152.0, "ripple": 0.005}}

    def test_what_holds_passes(self):
        now = {"high normal": {"noise": -149.1, "alias": -160.0, "ripple": 0.0052}}
        self.assertEqual(worst.regressions(self.STORED, now), [])

    def test_what_is_worse_by_more_than_a_decibel_is_told(self):
        now = {"high normal": {"noise": -148.9, "alias": -152.0, "ripple": 0.005}}
        self.assertEqual(worst.regressions(self.STORED, now), ["high normal: noise is -148.9, stored as -150.0"])

    def test_what_is_no_longer_measured_is_told(self):
        self.assertEqual(len(worst.regressions(self.STORED, {})), 3)


if __name__ == "__main__":
    unittest.main()
