"""The page of reports in headless Chromium, as people use it:
report_page_test.py QXHERMITE SOURCE_FOLDER CHROMIUM CHROMEDRIVER FOLDER_FOR_SCREENSHOTS"""

import json
import pathlib
import re
import subprocess
import sys
import tempfile
import unittest

import numpy as np
from selenium import webdriver
from selenium.webdriver.common.by import By
from selenium.webdriver.common.keys import Keys
from selenium.webdriver.chrome.service import Service
from selenium.webdriver.support.ui import WebDriverWait

TOOL, SOURCE, CHROMIUM, DRIVER, SHOTS = sys.argv[1:6]
DATA = pathlib.Path(SOURCE) / "examples/data"
HOSTILE = "</script><img src=x onerror=\"document.title='broken'\"> \u2028 <!-- \u202eabc"


def start_browser(*options):
    chrome = webdriver.ChromeOptions()
    chrome.binary_location = CHROMIUM
    chrome.set_capability("goog:loggingPrefs", {"browser": "ALL", "performance": "ALL"})
    for option in ("--headless=new", "--no-sandbox", "--disable-dev-shm-usage",
                   "--window-size=1400,900", *options):
        chrome.add_argument(option)
    return webdriver.Chrome(service=Service(DRIVER), options=chrome)


class Record:
    """An SD record, read without the library."""

    def __init__(self, text):
        lines = text.split("\n")
        self.title = lines[0]
        count = int(lines[3][:3])
        self.places = np.array([[float(line[10 * i:10 * i + 10]) for i in range(3)]
                                for line in lines[4:4 + count]])
        self.data = {line.split("<")[1].split(">")[0]: lines[i + 1]
                     for i, line in enumerate(lines) if line.startswith(">  <") or line.startswith("> <")}


def read_records(path):
    return [Record(text) for text in path.read_text().split("$$$$\n") if text]


class ReportPage(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.TemporaryDirectory()
        cls.path = pathlib.Path(cls.folder.name)
        cls.browser = start_browser("--use-gl=angle", "--use-angle=swiftshader",
                                    "--enable-unsafe-swiftshader")

    @classmethod
    def tearDownClass(cls):
        cls.browser.quit()
        cls.folder.cleanup()

    def run_tool(self, *words):
        subprocess.run([TOOL, *map(str, words)], cwd=self.path, check=True, capture_output=True)

    def open(self, name, browser=None):
        browser = browser or self.browser
        browser.get_log("performance")  # of the page before
        browser.get((self.path / name).as_uri())
        WebDriverWait(browser, 60).until(lambda b: b.execute_script(
            "return qxhermiteReport.scene !== undefined || !document.getElementById('no-picture').hidden"))

    def overlay(self, *more):
        self.run_tool("overlay", "--ref", DATA / "reference.sdf", "--fit", DATA / "drugs.sdf",
                      "--out", "hits.sdf", "--report", "hits.html", *more)
        self.open("hits.html")
        return read_records(self.path / "hits.sdf")

    def all(self, css):
        return self.browser.find_elements(By.CSS_SELECTOR, css)

    def one(self, css):
        return self.browser.find_element(By.CSS_SELECTOR, css)

    def button(self, text):
        return next(b for b in self.all("button") if text in b.text)

    def chosen(self):
        """The title of the chosen row, as it is drawn."""
        return self.one("[aria-selected=true] .text").text

    def column(self, at):
        """The texts of a column, of the rows that are drawn, from above."""
        return self.browser.execute_script(
            "return [...document.querySelectorAll('.body [role=row]')].map(row => row.children[arguments[0]]"
            ".textContent)", at)

    def shown_places(self):
        return np.array(self.browser.execute_script(
            "return qxhermiteReport.scene.models.row.selectedAtoms({}).map(a => [a.x, a.y, a.z])"))

    def surface(self, key):
        """The corners of the surface that is drawn of a field, and whether it is a mesh."""
        corners, is_mesh = self.browser.execute_script("""
            const [shape] = qxhermiteReport.scene.shapes[arguments[0]];
            const groups = shape.geo.geometryGroups;
            return [groups.flatMap(group => [...group.vertexArray.slice(0, 3 * group.vertices)]),
                    Boolean(shape.wireframe)];""", key)
        return np.array(corners).reshape(-1, 3), is_mesh

    def picture(self):
        """The colours of the viewer as they are on the screen."""
        png = self.one("#viewer").screenshot_as_base64
        return np.array(self.browser.execute_async_script("""
            const done = arguments[1], image = new Image();
            image.onload = () => {
              const canvas = document.createElement('canvas');
              [canvas.width, canvas.height] = [image.width, image.height];
              const context = canvas.getContext('2d');
              context.drawImage(image, 0, 0);
              done([...context.getImageData(0, 0, image.width, image.height).data]);
            };
            image.src = 'data:image/png;base64,' + arguments[0];""", png)).reshape(-1, 4)[:, :3]

    def changed(self, before):
        """The share of the picture that differs from an earlier one."""
        return np.mean(np.abs(self.picture() - before).max(axis=1) > 8)

    def test_rows_show_their_poses(self):
        records = self.overlay()
        before = self.picture()
        self.assertGreater(np.mean(before.min(axis=1) < 200), 0.005, "nothing is drawn")
        self.assertEqual(self.chosen(), records[0].title)
        next(row for row in self.all(".body [role=row]") if records[3].title in row.text).click()
        self.assertEqual(self.chosen(), records[3].title)
        self.assertLess(np.abs(self.shown_places() - records[3].places).max(), 0.00061)
        self.assertGreater(self.changed(before), 0.005)
        live = self.one("#live").get_attribute("textContent")
        self.assertTrue(live.startswith(f"hit 4 of {len(records)}, {records[3].title}, "), live)
        self.browser.save_screenshot(str(pathlib.Path(SHOTS) / "report_page.png"))

    def test_nothing_is_fetched(self):
        self.overlay()
        self.button("celecoxib density").click()
        urls = []
        for entry in self.browser.get_log("performance"):
            message = json.loads(entry["message"])["message"]
            if message["method"] == "Network.requestWillBeSent":
                urls.append(message["params"]["request"]["url"])
        self.assertIn((self.path / "hits.html").as_uri(), urls)
        others = [url for url in urls if not url.startswith(("file:", "data:", "blob:"))]
        self.assertEqual(others, [])
        self.assertEqual([e for e in self.browser.get_log("browser") if e["level"] == "SEVERE"], [])

    def test_the_same_run_gives_the_same_page(self):
        self.overlay()
        first = (self.path / "hits.html").read_bytes()
        self.overlay()
        self.assertEqual((self.path / "hits.html").read_bytes(), first)

    def test_table_sorts_and_filters(self):
        records = self.overlay()
        head = next(cell for cell in self.all("[role=columnheader]") if cell.text.startswith("Shape"))
        scores = sorted((float(r.data["Shape Tanimoto"]) for r in records), reverse=True)
        for direction, wanted in (("descending", scores), ("ascending", scores[::-1])):
            head.find_element(By.TAG_NAME, "button").click()
            self.assertEqual(head.get_attribute("aria-sort"), direction)
            self.browser.execute_script("qxhermiteReport.table.grid.scrollTop = 0")
            drawn = [float(text) for text in self.column(3)]
            self.assertGreater(len(drawn), 10)
            np.testing.assert_allclose(drawn, wanted[:len(drawn)], atol=5.1e-5)
        self.one("#filter").send_keys("COXIB")
        coxibs = [r.title for r in records if "coxib" in r.title]
        self.assertEqual(self.one("#count").text, f"{len(coxibs)} of {len(records)} hits")
        self.assertEqual(sorted(self.column(1)), sorted(coxibs))
        self.button("Clear").click()
        bar = self.all(".bar")[1]
        count = int(bar.get_attribute("aria-label").split(": ")[1].split()[0])
        self.assertGreater(count, 0)
        bar.click()
        self.assertEqual(self.one("[role=grid]").get_attribute("aria-rowcount"), str(count + 1))

    def test_everything_works_by_keys(self):
        records = self.overlay()
        titles = [r.title for r in records]
        reached = []
        for _ in range(40):
            self.browser.switch_to.active_element.send_keys(Keys.TAB)
            element = self.browser.switch_to.active_element
            reached.append(element.get_attribute("id") or element.get_attribute("role") or element.text)
        for stop in ("viewer", "celecoxib", "plot-column", "button", "filter", "grid", "Settings"):
            self.assertIn(stop, reached)
        grid = self.one("[role=grid]")
        for key, place in ((Keys.ARROW_DOWN, 1), (Keys.END, len(titles) - 1), (Keys.ARROW_UP, len(titles) - 2),
                           (Keys.HOME, 0)):
            grid.send_keys(key)
            self.assertEqual(self.chosen(), titles[place])
            self.assertEqual(grid.get_attribute("aria-activedescendant"), f"row-{place}")
        grid.send_keys(Keys.PAGE_DOWN)
        self.assertGreater(titles.index(self.chosen()), 5)
        view = "return qxhermiteReport.scene.viewer.getView()"
        before = self.browser.execute_script(view)
        self.one("#viewer").send_keys(Keys.ARROW_LEFT, "+")
        after = self.browser.execute_script(view)
        self.assertNotEqual(before[3], after[3])
        self.assertNotEqual(before[4:], after[4:])

    def test_surfaces_follow_button_and_slider(self):
        self.overlay()
        before = self.picture()
        self.button("Density of the hit").click()
        small = self.changed(before)
        self.assertGreater(small, 0.05)
        slider = self.one("[aria-label='Level of Density of the hit']")
        slider.send_keys(Keys.HOME)
        self.assertGreater(self.changed(before), small + 0.05)
        self.button("Density of the hit").click()
        self.assertLess(self.changed(before), 0.001)

    def test_surface_is_where_the_field_has_the_level(self):
        """Of x^2 + y^2 + z^2 on a grid: a sphere, closed, with normals along the radius."""
        script = (pathlib.Path(SOURCE) / "tools/report/surface.js").read_text()
        for sign in (1, -1):
            surface = self.browser.execute_script(script + """
                const n = 41, spacing = 0.25, origin = [-5, -5, -5], values = [];
                for (let k = 0; k < n; ++k) for (let j = 0; j < n; ++j) for (let i = 0; i < n; ++i) {
                  const p = [i, j, k].map(at => -5 + spacing * at);
                  values.push(arguments[0] * (25 - p[0] ** 2 - p[1] ** 2 - p[2] ** 2));
                }
                return isosurface({size: [n, n, n], origin, spacing, values}, arguments[0] * 16);""", sign)
            places = np.array([[p["x"], p["y"], p["z"]] for p in surface["vertexArr"]])
            normals = np.array([[p["x"], p["y"], p["z"]] for p in surface["normalArr"]])
            radii = np.linalg.norm(places, axis=1)
            # A vertex is a mean of points of a cube's surface: off by less than the sagitta of a cube.
            self.assertLess(np.abs(radii - 3).max(), 3 * 0.25**2 / (2 * 3))
            self.assertGreater((normals * places / radii[:, None]).sum(axis=1).min(), 0.99)
            faces = np.array(surface["faceArr"]).reshape(-1, 3)
            corners = places[faces]
            outward = np.cross(corners[:, 1] - corners[:, 0], corners[:, 2] - corners[:, 0])
            self.assertGreater((outward * corners.mean(axis=1)).sum(axis=1).min(), 0)
            volume = (corners[:, 0] * outward).sum() / 6
            self.assertLess(abs(volume / (36 * np.pi) - 1), 0.02)

    def test_titles_are_text(self):
        text = (DATA / "reference.sdf").read_text()
        (self.path / "hostile.sdf").write_text(HOSTILE + text[text.index("\n"):])
        self.run_tool("report", "hostile.sdf", "--out", "hostile.html", "--title", HOSTILE)
        self.open("hostile.html")
        self.assertEqual(self.one("h1").get_attribute("textContent"), HOSTILE)
        self.assertEqual(self.column(1), [HOSTILE])
        self.assertEqual(self.all("img"), [])

    def test_numbers_of_any_size(self):
        """Every column of two values is counted in bars that have numbers for their ends."""
        columns = {"Close": ("0.3", "0.30000000000000004"), "Wide": ("-1.7e308", "1.7e308"),
                   "Tiny": ("0.0000001", "0.0000002"), "Same": ("7", "7"), "Denormal": ("5e-324", "1e-323"),
                   "Whole": ("9007199254740991", "9007199254740992"), "Zero": ("0", "0.5"),
                   "Ids": ("1234567890123", "1234567890223"), "Far": ("1e-300", "1e300")}
        text = (DATA / "reference.sdf").read_text().split("$$$$")[0]
        (self.path / "numbers.sdf").write_text("".join(
            text + "".join(f"> <{name}>\n{values[row]}\n\n" for name, values in columns.items()) + "$$$$\n"
            for row in (0, 1)))
        self.run_tool("report", "numbers.sdf", "--out", "numbers.html")
        self.open("numbers.html")
        select = self.one("#plot-column")
        for name, (low, high) in columns.items():
            next(o for o in select.find_elements(By.TAG_NAME, "option") if o.text == name).click()
            bars = self.all("#plot .bar")
            labels = [bar.get_attribute("aria-label").replace(":", "").split() for bar in bars]
            counts = [int(label[-2]) for label in labels]
            one = name in ("Close", "Same", "Whole")
            self.assertEqual(counts, [2] if one else [1] + [0] * (len(bars) - 2) + [1], name)
            self.assertEqual([float(labels[0][0]), float(labels[-1][-3])], [float(low), float(high)], name)
            for rect in self.all("#plot .bar rect"):
                self.assertGreater(float(rect.get_attribute("width")), 0, name)
            ticks = [t.text for t in self.all("#plot svg text.middle:not(.name)")]
            self.assertTrue(1 <= len(ticks) <= 10 and len(set(ticks)) == len(ticks), (name, ticks))
            slack = 1e-9 * float(high) - 1e-9 * float(low)
            for tick in map(float, ticks):
                self.assertTrue(float(low) - slack <= tick <= float(high) + slack, (name, ticks))
        self.one("#filter").send_keys("2e-7")
        self.assertEqual(self.column(0), ["2"])

    def test_ten_thousand_rows(self):
        self.overlay()
        text = (self.path / "hits.sdf").read_text()
        (self.path / "many.sdf").write_text(text * 385)
        self.run_tool("report", "many.sdf", "--ref", DATA / "reference.sdf", "--out", "many.html")
        self.open("many.html")
        grid = self.one("[role=grid]")
        self.assertEqual(grid.get_attribute("aria-rowcount"), "10001")  # a header, and no more rows
        self.assertLess(len(self.all(".body [role=row]")), 100)
        grid.send_keys(Keys.END)
        self.assertEqual(self.one("[aria-selected=true]").get_attribute("aria-rowindex"), "10001")
        self.assertEqual(self.one("[aria-selected=true]").is_displayed(), True)

    def test_charges_have_both_signs_and_curves(self):
        self.run_tool("charges", "fit", DATA / "water_potential.json", "--out", "water.json", "--report", "fit.html")
        self.open("fit.html")
        self.assertIn("chosen", self.chosen())
        before = self.picture()
        self.button("Potential").click()
        picture = self.picture()
        self.assertGreater(self.changed(before), 0.05)
        red, blue = picture[:, 0] - picture[:, 2] > 12, picture[:, 2] - picture[:, 0] > 12
        self.assertGreater(min(red.mean(), blue.mean()), 0.01)
        chosen = self.chosen().split(",")[0]  # the only step that the surface belongs to
        potential = self.button(f"Potential of {chosen}")
        self.one("[role=grid]").send_keys(Keys.HOME)
        self.assertNotIn(chosen, self.chosen())
        self.assertFalse(potential.is_enabled())
        self.assertEqual(self.one("#surfaces output").text, f"only for {chosen}")
        self.assertLess(np.mean(self.picture()[:, 0] > self.picture()[:, 2] + 12), red.mean() / 4)
        self.one("[role=grid]").send_keys(Keys.END)
        self.assertIn("chosen", self.chosen())
        self.assertTrue(potential.is_enabled())
        self.assertLess(np.abs(self.picture() - picture).mean(), 0.01)
        self.run_tool("charges", "potential", "water.json", "--grid", "v.cube", "--report", "potential.html")
        self.open("potential.html")
        self.assertEqual(len(self.shown_places()), 1)
        self.assertEqual([self.column(at) for at in (2, 3, 4)], [["9"] * 3, ["2"] * 3, ["1.3201"] * 3])
        for key, name in [("field-0", "Potential"), ("field-1", "Charge density")]:
            self.button(name).click()
            self.assertEqual(self.browser.execute_script(
                "return qxhermiteReport.scene.shapes[arguments[0]].length", key), 2)  # of either sign
        self.run_tool("charges", "energy", "water.json", "water.json", "--scan", "z:3:8:0.5", "--report", "scan.html")
        self.open("scan.html")
        turn = re.search(r'"turn":\[(.*?)\]', (self.path / "scan.html").read_text())[1]
        x, y = map(float, turn.split(",")[:2])
        self.assertLess(abs(1 - 2 * (x * x + y * y)), 0.3)  # the way, along z, lies across the view
        points = self.all("#plot circle")
        self.assertEqual(len(points), 11)
        before = self.shown_places()
        points[4].click()
        np.testing.assert_allclose(self.shown_places() - before, [[0, 0, 2]] * 3, atol=0.0011)

    def test_a_grid_is_shown_at_once(self):
        self.run_tool("atoms", DATA / "benzene.ccp4", "--out", "atoms.sdf", "--report", "atoms.html")
        self.open("atoms.html")
        before = self.picture()
        self.button("Density of the grid").click()
        self.assertGreater(self.changed(before), 0.02)

    def test_moved_grids_are_meshes_where_they_were_written(self):
        self.run_tool("overlay", "--ref", DATA / "benzene.ccp4", "--fit", DATA / "formamide.ccp4",
                      DATA / "benzene.ccp4", "--out", "moved.ccp4", "--report", "moved.html")
        self.open("moved.html")
        for name in ("benzene.ccp4", "Chosen grid"):
            self.assertEqual(self.button(name).get_attribute("aria-pressed"), "true")
        reference, (same, is_mesh) = self.surface("field-0")[0], self.surface("rows-Chosen grid")
        self.assertTrue(is_mesh)
        np.testing.assert_allclose(np.ptp(same, axis=0), np.ptp(reference, axis=0), atol=0.05)
        level = self.all("#surfaces output")[1].text
        self.one("[role=grid]").send_keys(Keys.END)
        self.assertNotEqual(self.all("#surfaces output")[1].text, level)
        moved = self.surface("rows-Chosen grid")[0]
        self.run_tool("overlay", "--ref", "moved-2.ccp4", "--fit", DATA / "formamide.sdf", "--out",
                      "other.sdf", "--report", "other.html")
        self.open("other.html")
        written, is_mesh = self.surface("field-0")
        self.assertFalse(is_mesh)
        for corner in (np.min, np.max):
            np.testing.assert_allclose(corner(moved, axis=0), corner(written, axis=0), atol=0.01)

    def test_molecules_keep_their_densities_beside_moved_grids(self):
        self.run_tool("overlay", "--ref", DATA / "benzene.sdf", "--fit", DATA / "formamide.ccp4", "--out",
                      "moved.ccp4", "--report", "moved.html")
        self.open("moved.html")
        self.assertEqual(self.button("Chosen grid").get_attribute("aria-pressed"), "true")
        self.button("benzene density").click()
        corners, is_mesh = self.surface("reference-density")
        self.assertFalse(is_mesh)
        # Where one Gaussian of radius 1.7 has the value 1; neighbours bring it somewhat farther out.
        reach = 1.7 * np.sqrt(np.log(2.7) / 2.34422871067)
        carbons = read_records(DATA / "benzene.sdf")[0].places[:6]
        np.testing.assert_allclose(np.ptp(corners, axis=0), np.ptp(carbons, axis=0) + 2 * reach, atol=0.5)

    def test_without_webgl_the_table_works(self):
        self.overlay()
        browser = start_browser("--disable-3d-apis")
        try:
            self.open("hits.html", browser)
            self.assertIn("no WebGL", browser.find_element(By.ID, "no-picture").text)
            grid = browser.find_element(By.CSS_SELECTOR, "[role=grid]")
            grid.send_keys(Keys.END)
            self.assertIn("hit 26 of 26", browser.find_element(By.ID, "live").get_attribute("textContent"))
        finally:
            browser.quit()


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1], verbosity=2)
