"""The page in headless Chromium, with files that simulated daemons write while it is open, and what
the web servers of web/servers/ let others read."""

import http.client
import importlib.util
import os
import pathlib
import re
import shutil
import socket
import subprocess
import tempfile
import threading
import time

import pytest
from selenium import webdriver
from selenium.webdriver.chrome.options import Options
from selenium.webdriver.chrome.service import Service
from selenium.webdriver.common.keys import Keys

ROOT = pathlib.Path(__file__).resolve().parents[2]
SCENE = pathlib.Path(os.environ["VM1905_BUILD"]) / "web_scene"
PHRASE = "pass-phrase-of-the-mesh"
PATIENCE = 15
# Name: parent, port, signal in percent, stations.
DEVICES = {
    "router": ("-", "wire", 0, 3), "kitchen": ("router", "radio", 82, 4),
    "office": ("router", "wire", 0, 2), "attic": ("kitchen", "radio", 58, 2),
    "garage": ("router", "radio", 34, 1), "<script>": ("office", "wire", 0, 3),
    "bedroom": ("attic", "radio", 71, 2), "__proto__": ("router", "wire", 0, 0),
    "<u>&lt;&amp;": ("__proto__", "radio", 45, 1), "garden": ("garage", "radio", 27, 1),
    "constructor": ("router", "wire", 0, 5), "guest-room": ("constructor", "radio", 76, 1)}


def load(path):
    spec = importlib.util.spec_from_file_location(path.stem, path)
    module = importlib.util.module_from_spec(spec)
    spec.loader.exec_module(module)
    return module


web = load(ROOT / "lab" / "web.py")


class Scene:
    def __init__(self, folder):
        self.folder = pathlib.Path(folder)
        for name in ("data", "model"):
            (self.folder / name).mkdir()
        self.process = subprocess.Popen([SCENE, folder], stdin=subprocess.PIPE,
                                        stdout=subprocess.PIPE, text=True)

    def __call__(self, *words):
        self.process.stdin.write(" ".join(map(str, words)) + "\n")
        self.process.stdin.flush()
        assert self.process.stdout.readline().strip() == words[0]


@pytest.fixture(scope="module")
def scene():
    with tempfile.TemporaryDirectory(prefix="web-", dir="/tmp") as folder:
        made = Scene(folder)
        for name, place in DEVICES.items():
            made("device", name, *place)
        made("run", 20)
        made("password", PHRASE)
        made("run", 1)
        yield made
        made.process.stdin.close()
        made.process.wait(PATIENCE)


@pytest.fixture(scope="module")
def server(scene):
    with web.Server(0, str(ROOT / "web"), lambda: str(scene.folder / "data")) as made:
        threading.Thread(target=made.serve_forever, daemon=True).start()
        yield made
        made.shutdown()


@pytest.fixture(scope="module")
def page(server):
    options = Options()
    options.binary_location = shutil.which("chromium")
    for option in ("--headless=new", "--no-sandbox", "--disable-dev-shm-usage", "--disable-gpu",
                   "--no-first-run", "--window-size=1400,900"):
        options.add_argument(option)
    options.set_capability("goog:loggingPrefs", {"browser": "ALL"})
    driver = webdriver.Chrome(service=Service(shutil.which("chromedriver")), options=options)
    try:
        driver.get(f"http://127.0.0.1:{server.server_port}/?poll=0.2&keep=3")
        until(lambda: len(nodes(driver)) == len(DEVICES), "the mesh is drawn")
        driver.execute_script("window.sameLoad = true")
        yield driver
    finally:
        driver.quit()


def until(condition, what):
    limit = time.monotonic() + PATIENCE
    while not (value := condition()):
        assert time.monotonic() < limit, what
        time.sleep(0.05)
    return value


def nodes(page):
    """Name -> class and position of each device in the drawing."""
    return {name: (classes.split(), position) for name, classes, position in page.execute_script("""
        return d3.selectAll('g.node')[0].map((node) => [node.querySelector('.name').textContent,
            node.getAttribute('class'), node.getAttribute('transform')])""")}


def tree(page):
    """Name -> name of the parent, and what it says about the link."""
    return {name: (parent, about) for name, parent, about in page.execute_script("""
        const part = (li, name) => li?.querySelector(`:scope > button > .${name}`).textContent ?? '-';
        return [...document.querySelectorAll('#tree li')].map((li) =>
            [part(li, 'name'), part(li.parentElement.closest('li'), 'name'), part(li, 'about')])""")}


def button(page, name):
    return next(found for found in page.find_elements("css selector", "button.device")
                if found.find_element("css selector", ".name").text == name)


def test_the_mesh_is_drawn_and_names_stay_text(page):
    # The file does not name the device that writes it.
    called = {name: "Registrar" if name == "router" else name for name in (*DEVICES, "-")}
    shown = tree(page)
    assert {name: parent for name, (parent, _) in shown.items()} == {
        called[name]: called[parent] for name, (parent, *_) in DEVICES.items()}
    assert set(nodes(page)) == set(shown)
    assert [shown[name][1] for name in ("office", "kitchen", "garage")] == [
        "1 Gb/s", "82 % · 1.1 Gb/s", "weak 34 % · 442 Mb/s"]
    assert "weak" in nodes(page)["garage"][0] and "fair" in nodes(page)["attic"][0]
    assert page.execute_script("return document.querySelectorAll('u, script:not([src])').length") == 0
    assert page.execute_script("""
        const boxes = [...document.querySelectorAll('.node .label')].map((label) =>
            label.getBoundingClientRect());
        return boxes.filter((a, i) => boxes.some((b, j) => i < j && a.left < b.right &&
            b.left < a.right && a.top < b.bottom && b.top < a.bottom)).length""") == 0
    assert "attic has joined" in page.find_element("id", "news").text


def test_details_search_and_keyboard(page):
    page.execute_script("d3.selectAll('g.node')[0].find((node) => "
                        "node.textContent.includes('attic')).dispatchEvent(new Event('click'))")
    details = page.find_element("id", "details").text
    for part in ("attic", "kitchen", "radio – backhaul", "754 Mb/s", "58 % (-71 dBm), fair",
                 "1 device below, 2 stations", "192.0.2.4", "06:00:00:00:04:01"):
        assert part in details
    box = page.find_element("id", "search")
    box.send_keys("06:00:00:00:0a:00", Keys.ENTER)  # a station
    assert page.find_element("id", "details-title").text == "garden"
    assert [found.text.split()[0] for found in page.find_elements("css selector", "button.device")
            if found.is_displayed()] == ["Registrar", "garage", "garden"]
    box.send_keys(Keys.ESCAPE)
    button(page, "garage").send_keys(Keys.ARROW_DOWN, Keys.ENTER)
    assert page.find_element("id", "details-title").text == "garden"
    assert page.switch_to.active_element.get_attribute("aria-current") == "true"


def test_devices_come_and_go(page, scene):
    before = nodes(page)
    scene("kill", "garden")
    scene("run", 140)
    until(lambda: "stale" in nodes(page)["garden"][0], "the lost device is stale")
    assert tree(page)["garden"] == ("garage", "not heard")
    until(lambda: "garden" not in nodes(page), "the lost device goes")
    assert "garden" not in tree(page)
    assert "garden is lost" in page.find_element("id", "news").text
    scene("device", "shed", "office", "wire", 0, 1)
    scene("run", 10)
    until(lambda: "shed" in nodes(page), "the new device appears")
    assert tree(page)["shed"] == ("office", "1 Gb/s")
    assert "shed has joined" in page.find_element("id", "news").text
    after = nodes(page)
    assert {name: after[name][1] for name in before if name != "garden"} == {
        name: before[name][1] for name in before if name != "garden"}, "nothing else has moved"
    assert page.execute_script("return window.sameLoad")


def contrast(one, other):
    def luminance(color):
        parts = [int(part) / 255 for part in re.findall(r"\d+", color)[:3]]
        red, green, blue = (part / 12.92 if part <= 0.04045 else ((part + 0.055) / 1.055) ** 2.4
                            for part in parts)
        return 0.2126 * red + 0.7152 * green + 0.0722 * blue
    light, dark = sorted((luminance(one), luminance(other)), reverse=True)
    return (light + 0.05) / (dark + 0.05)


def test_everybody_can_read_it(page):
    for _ in ("light", "dark"):
        pairs = page.execute_script("""
            const back = (node) => node === null ? 'rgb(255, 255, 255)' :
                getComputedStyle(node).backgroundColor.startsWith('rgba(0, 0, 0, 0') ?
                back(node.parentElement) : getComputedStyle(node).backgroundColor;
            const texts = [...document.querySelectorAll('body *')].filter((node) =>
                node.checkVisibility() && [...node.childNodes].some((part) =>
                part.nodeType === Node.TEXT_NODE && part.data.trim() !== ''));
            return texts.map((node) => [node.outerHTML.slice(0, 80), node.closest('#picture') ?
                getComputedStyle(node).fill : getComputedStyle(node).color,
                node.matches('.load') ? getComputedStyle(node.parentElement.querySelector('circle')).fill :
                back(node)])""")
        assert len(pairs) > 50
        assert [pair for pair in pairs if contrast(pair[1], pair[2]) < 4.5] == []
        page.find_element("id", "theme").click()
    assert page.execute_script("""
        return [...document.querySelectorAll('button, input')].filter((node) => !(node.ariaLabel ||
            node.textContent.trim() || node.labels?.length))""") == []
    page.execute_cdp_cmd("Emulation.setDeviceMetricsOverride", {
        "width": 360, "height": 740, "deviceScaleFactor": 1, "mobile": True})
    assert page.execute_script("return document.documentElement.scrollWidth") == 360


def test_the_console_is_empty(page):
    assert page.get_log("browser") == []


def fetch(port, path):
    connection = http.client.HTTPConnection("127.0.0.1", port, timeout=PATIENCE)
    connection.putrequest("GET", path)
    connection.endheaders()
    answer = connection.getresponse()
    return answer.status, answer.read().decode(errors="replace")


def check_server(port, folder):
    check_files = ROOT / "tests/support/schema.py"
    subprocess.run([check_files, folder / "model"], check=True)
    subprocess.run([check_files, "--copies", folder / "data"], check=True)
    assert PHRASE in (folder / "model/vm1905.json").read_text(encoding="utf-8")
    for name in ("", "index.html", "app.js", "style.css", "icon.svg", "d3.min.js",
                 *(f"data/{copy}" for copy in web.COPIES)):
        status, text = fetch(port, f"/{name}")
        assert (status, PHRASE in text) == (200, False), name
    for path in ("/data/", "/data", "/model/vm1905.json", "/../model/vm1905.json", "/vm1905.json",
                 "/data/../model/vm1905.json", "/data/..%2fmodel/vm1905.json", "/data../model/vm1905.json",
                 "/data/../../model/vm1905.json", "//model/vm1905.json", "/data/.vm1905.json.new"):
        status, text = fetch(port, path)
        assert status >= 300 and PHRASE not in text and "IEEE1905" not in text, path


def snippet(name, folder, port):
    """A file of web/servers with the places of this test."""
    text = (ROOT / "web/servers" / name).read_text(encoding="utf-8")
    assert "/usr/share/vm1905/web" in text and "/run/vm1905-web" in text and "127.0.0.1" in text
    for given, here in (("/usr/share/vm1905/web", f"{folder}/site"),
                        ("/run/vm1905-web", f"{folder}/data"), ("8080", str(port))):
        text = text.replace(given, here)
    path = folder / name
    path.write_text(text, encoding="utf-8")
    return path


def test_servers_serve_page_and_copies_only(scene, server):
    check_server(server.server_port, scene.folder)
    site = scene.folder / "site"
    site.mkdir()
    for name in web.PAGE:
        (site / name).symlink_to(ROOT / "web" / name)
    (site / "d3.min.js").symlink_to(web.D3)
    (scene.folder / ".vm1905.json.new").write_text(PHRASE, encoding="utf-8")
    ran = []
    for program in ("busybox", "nginx"):
        if not shutil.which(program):
            continue
        with socket.create_server(("127.0.0.1", 0)) as probe:
            port = probe.getsockname()[1]
        if program == "busybox":
            (site / "data").symlink_to(scene.folder / "data")
            command = ["busybox", "httpd", "-f", "-p", f"127.0.0.1:{port}", "-h", site, "-c",
                       snippet("busybox-httpd.conf", scene.folder, port)]
        else:
            (site / "data").unlink()
            included = snippet("nginx.conf", scene.folder, port)
            user = "user root;" if os.geteuid() == 0 else ""
            temporary = "".join(f"{kind}_temp_path {scene.folder}/{kind};" for kind in (
                "client_body", "proxy", "fastcgi", "uwsgi", "scgi"))
            (scene.folder / "main.conf").write_text(
                f"daemon off; {user} pid {scene.folder}/pid; error_log {scene.folder}/log; events {{}}"
                f" http {{ access_log off; {temporary} include {included}; }}", encoding="utf-8")
            command = ["nginx", "-p", scene.folder, "-c", scene.folder / "main.conf"]
        process = subprocess.Popen(command)
        try:
            until(lambda: socket.socket().connect_ex(("127.0.0.1", port)) == 0, f"{program} runs")
            check_server(port, scene.folder)
            ran.append(program)
        finally:
            process.terminate()
            process.wait(PATIENCE)
    assert "busybox" in ran
    lines = snippet("uhttpd.conf", scene.folder, 8080).read_text(encoding="utf-8").splitlines()
    words = [line.split(maxsplit=2)[1:] for line in lines if line.strip() and line[0] != "#"]
    assert {word[0]: word[1] for word in words} == {
        "uhttpd": "'vm1905'", "listen_http": "'127.0.0.1:8080'", "home": f"'{site}'",
        "alias": f"'/data={scene.folder}/data'", "index_page": "'index.html'",
        "no_dirlists": "'1'", "rfc1918_filter": "'1'"}
