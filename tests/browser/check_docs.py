#!/usr/bin/python3
"""Reads the documentation in a browser, as people do: pages, pictures, search and keyboard.

    tests/browser/check_docs.py FOLDER      the folder that 'vessa doc' has made
"""

import json
import pathlib
import re
import shutil
import sys
import unittest

from selenium import webdriver
from selenium.webdriver.chrome.service import Service
from selenium.webdriver.common.by import By
from selenium.webdriver.common.keys import Keys

FOLDER = pathlib.Path()
INDEX = "nodeka/html/manipulation/index.html"


def relative_luminance(colour):
    channels = [int(channel) / 255 for channel in re.findall(r"\d+", colour)[:3]]
    linear = [c / 12.92 if c <= 0.04045 else ((c + 0.055) / 1.055) ** 2.4 for c in channels]
    return 0.2126 * linear[0] + 0.7152 * linear[1] + 0.0722 * linear[2]


def contrast(one, other):
    lighter, darker = sorted((relative_luminance(one), relative_luminance(other)), reverse=True)
    return (lighter + 0.05) / (darker + 0.05)


class Docs(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        options = webdriver.ChromeOptions()
        options.binary_location = shutil.which("chromium")
        for argument in ("--headless=new", "--no-sandbox", "--disable-dev-shm-usage"):
            options.add_argument(argument)
        options.set_capability("goog:loggingPrefs", {"browser": "ALL", "performance": "ALL"})
        cls.browser = webdriver.Chrome(options=options, service=Service(shutil.which("chromedriver")))

    @classmethod
    def tearDownClass(cls):
        cls.browser.quit()

    def setUp(self):
        self.set_width(1280)
        self.set_scheme("light")

    def set_width(self, width):
        metrics = {"width": width, "height": 900, "deviceScaleFactor": 1, "mobile": width < 600}
        self.browser.execute_cdp_cmd("Emulation.setDeviceMetricsOverride", metrics)

    def set_scheme(self, scheme):
        features = [{"name": "prefers-color-scheme", "value": scheme}]
        self.browser.execute_cdp_cmd("Emulation.setEmulatedMedia", {"features": features})

    def open(self, page):
        self.browser.get((FOLDER / page).as_uri())

    def press(self, *keys):
        self.browser.switch_to.active_element.send_keys(*keys)

    def at(self):
        return self.browser.current_url

    def run_script(self, script):
        return self.browser.execute_script("return " + script)

    def results(self):
        return [link.text for link in self.browser.find_elements(By.CSS_SELECTOR, "#results a")]

    def colour(self, selector, which):
        return self.run_script(f"getComputedStyle(document.querySelector('{selector}')).{which}")

    def check_page(self, page):
        self.browser.get_log("browser")
        self.browser.get_log("performance")
        self.open(page)
        self.assertEqual(self.browser.get_log("browser"), [])
        messages = [json.loads(entry["message"])["message"] for entry in self.browser.get_log("performance")]
        urls = [m["params"]["request"]["url"] for m in messages if m["method"] == "Network.requestWillBeSent"]
        self.assertIn((FOLDER / page).as_uri(), urls)
        for url in urls:
            self.assertTrue(url.startswith(FOLDER.as_uri() + "/"), url)
        widths = self.run_script("[...document.images].map((image) => image.complete ? image.naturalWidth : 0)")
        self.assertNotIn(0, widths)
        return len(widths)

    def test_every_page_loads_whole_and_alone(self):
        pages = [path.relative_to(FOLDER) for path in sorted(FOLDER.rglob("*.html"))]
        self.assertEqual(len(pages), 33)
        pictures = 0
        for page in pages:
            with self.subTest(page=str(page)):
                pictures += self.check_page(page)
        self.assertGreater(pictures, 62)

    def test_no_page_is_wider_than_the_screen(self):
        for width in (390, 820, 1280):
            self.set_width(width)
            for page in sorted(FOLDER.rglob("*.html")):
                with self.subTest(page=str(page), width=width):
                    self.open(page.relative_to(FOLDER))
                    self.assertLessEqual(self.run_script("document.documentElement.scrollWidth"), width)

    def test_both_schemes_are_readable(self):
        grounds = {}
        for scheme in ("light", "dark"):
            self.set_scheme(scheme)
            self.open("nodeka/html/manipulation/PFlip/index.html")
            ground = self.colour("body", "backgroundColor")
            grounds[scheme] = relative_luminance(ground)
            for selector in ("body", ".lead", "dt a", "figcaption", ".kind", "footer", "th"):
                with self.subTest(scheme=scheme, selector=selector):
                    self.assertGreaterEqual(contrast(self.colour(selector, "color"), ground), 4.5)
        self.assertGreater(grounds["light"], 0.9)
        self.assertLess(grounds["dark"], 0.1)

    def test_the_search_finds_a_keyword(self):
        for index in (INDEX, "index.html"):
            with self.subTest(index=index):
                self.open(index)
                self.browser.find_element(By.ID, "query").send_keys("mirror")
                self.assertEqual(self.results()[:2], ["Flip", "Scale"])
                self.assertEqual(self.browser.find_element(By.ID, "count").text, "2 nodes found")
                self.assertFalse(self.browser.find_element(By.ID, "all").is_displayed())

    def test_names_count_most_and_all_words_must_be_found(self):
        self.open(INDEX)
        query = self.browser.find_element(By.ID, "query")
        query.send_keys("scale")
        self.assertEqual(self.results()[:2], ["Scale", "Resize"])
        query.clear()
        query.send_keys("label color map")
        self.assertEqual(self.results(), ["LabelToColor"])
        query.clear()
        query.send_keys("join append")  # the kind of work and a name
        self.assertEqual(self.results(), ["Append"])
        query.clear()
        query.send_keys("nosuchword")
        self.assertEqual(self.results(), [])
        self.assertEqual(self.browser.find_element(By.ID, "count").text, "0 nodes found")

    def test_the_keyboard_reaches_a_result(self):
        self.open(INDEX)
        self.press("/")
        self.press("mirror")
        self.press(Keys.ARROW_DOWN)
        self.assertEqual(self.browser.switch_to.active_element.text, "Flip")
        self.press(Keys.ARROW_DOWN)
        self.assertEqual(self.browser.switch_to.active_element.text, "Scale")
        self.press(Keys.ARROW_UP)
        self.press(Keys.ENTER)
        self.assertTrue(self.at().endswith("/PFlip/index.html"), self.at())

    def test_enter_opens_the_best_result_and_escape_shows_all(self):
        self.open(INDEX)
        self.press("/")
        self.press("flip")
        self.press(Keys.ESCAPE)
        self.assertTrue(self.browser.find_element(By.ID, "all").is_displayed())
        self.assertEqual(self.results(), [])
        self.press("rotate", Keys.ENTER)
        self.assertTrue(self.at().endswith("/PRotate/index.html"), self.at())

    def test_a_nodes_page_searches_the_index(self):
        self.open("nodeka/html/manipulation/PFlip/index.html")
        self.browser.find_element(By.ID, "query").send_keys("coordinate", Keys.ENTER)
        self.assertTrue(self.at().endswith(INDEX + "?q=coordinate"), self.at())
        self.assertEqual(self.results(), ["CartesianToPolar", "PolarToCartesian"])

    def test_the_first_key_leads_to_the_content(self):
        self.open("nodeka/html/manipulation/PFlip/index.html")
        self.press(Keys.TAB)
        self.assertEqual(self.browser.switch_to.active_element.text, "Skip to the content")
        outline = self.run_script("getComputedStyle(document.activeElement).outlineStyle")
        self.assertEqual(outline, "solid")
        self.press(Keys.ENTER)
        self.assertEqual(self.browser.switch_to.active_element.get_attribute("id"), "main")

    def test_without_scripts_all_nodes_are_there(self):
        self.browser.execute_cdp_cmd("Emulation.setScriptExecutionDisabled", {"value": True})
        try:
            self.open(INDEX)
            self.assertEqual(len(self.browser.find_elements(By.CSS_SELECTOR, "#all li.node a")), 31)
        finally:
            self.browser.execute_cdp_cmd("Emulation.setScriptExecutionDisabled", {"value": False})


if __name__ == "__main__":
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    FOLDER = pathlib.Path(sys.argv.pop()).resolve()
    unittest.main()
