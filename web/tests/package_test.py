# SPDX-License-Identifier: Apache-2.0
"""The package in headless Chromium. web/tests/run prepares what it needs and starts it."""
import json

import browser

LARGEST_DIFFERENCE = 1e-6  # of orvane-render, at full scale 1

# What goes to the loudspeakers, for the tests to listen to.
TAP = """
const connect = AudioNode.prototype.connect;
AudioNode.prototype.connect = function (to, ...rest) {
  if (to instanceof AudioDestinationNode && !window.tap) {
    window.tap = new AnalyserNode(to.context, { fftSize: 4096 });
    connect.call(this, tap);
  }
  return connect.call(this, to, ...rest);
};
window.tappedPeak = () => {
  const samples = new Float32Array(4096);
  window.tap?.getFloatTimeDomainData(samples);
  return samples.reduce((peak, sample) => Math.max(peak, Math.abs(sample)), 0);
};
"""


class PackageTest(browser.BrowserTest):
    def test_package_sounds_as_orvane_render(self):
        self.open("/tests/blank.html")
        for case in json.loads((browser.WORK / "references/cases.json").read_text()):
            for vectors in (True, False):
                heard = browser.call(self.driver, "return (await import('/tests/offline.js')).compare(...args)", case, vectors)
                print(f"{case['name']}, {'with' if vectors else 'without'} vectors: differs by {heard['difference']:.1e}")
                self.assertGreater(heard["peak"], 0.05, case["name"])
                self.assertLessEqual(heard["difference"], LARGEST_DIFFERENCE, case["name"])

        heard = browser.call(self.driver, "return (await import('/tests/offline.js')).compareResponses()")
        self.assertGreater(heard["peak"], 0.01)
        self.assertLessEqual(heard["difference"], LARGEST_DIFFERENCE)

    def test_example_of_the_package_is_heard(self):
        self.before_load(TAP)
        self.open("/package/example.html")
        self.find("#play").click()
        self.wait("tappedPeak() > 0.01", 20)
        self.assert_no_complaints()

    def test_what_could_not_be_loaded_is_tried_again(self):
        create = "return (await import('/package/index.js')).OrvaneNode.create(context).then(() => 'made', () => 'failed')"
        for missing in ("/package/orvane.wasm", "/package/processor.js"):
            self.open("/tests/blank.html")
            self.script("window.context = new AudioContext({ sampleRate: 48000 })")
            browser.Handler.missing.add(missing)
            self.addCleanup(browser.Handler.missing.clear)
            self.assertEqual(browser.call(self.driver, create), "failed", missing)
            browser.Handler.missing.clear()
            self.assertEqual(browser.call(self.driver, create), "made", missing)


if __name__ == "__main__":
    browser.unittest.main(verbosity=2)
