#!/usr/bin/python3
"""page.py COMMAND: the page that `--html` writes, in a headless Chromium: what it shows, that a selection stands out, that
the keyboard reaches everything, and that the console stays empty. Exits with 77 where there is no Chromium to try it with."""
import json
import os
import subprocess
import sys
import tempfile
import time

try:
    from selenium import webdriver
    from selenium.webdriver.chrome.service import Service
    from selenium.webdriver.common.by import By
    from selenium.webdriver.common.keys import Keys
except ImportError:
    print("skipped: python3-selenium is not installed (./dev test installs what the page's test needs)")
    sys.exit(77)
if not os.path.exists("/usr/bin/chromium") or not os.path.exists("/usr/bin/chromedriver"):
    print("skipped: chromium or chromium-driver is not installed (./dev test installs what the page's test needs)")
    sys.exit(77)

tool = sys.argv[1]
folder = tempfile.mkdtemp()


def browser():
    options = webdriver.ChromeOptions()
    for option in ("--headless=new", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage", "--window-size=1400,1000"):
        options.add_argument(option)
    options.set_capability("goog:loggingPrefs", {"browser": "ALL"})
    options.binary_location = "/usr/bin/chromium"
    return webdriver.Chrome(service=Service("/usr/bin/chromedriver"), options=options)


def check(condition, what):
    if not condition:
        sys.exit(f"failed: {what}")


def page_of(name, configuration, *options):
    file, html = f"{folder}/{name}.json", f"{folder}/{name}.html"
    with open(file, "w") as out:
        json.dump(configuration, out)
    done = subprocess.run([tool, *options, "apply", file, "--html", html], stdout=subprocess.DEVNULL, timeout=600)
    check(done.returncode in (0, 1), f"{name}: exit {done.returncode}")
    return html


def show(html):
    driver.get("file://" + html)


def text(selector):
    return driver.find_element(By.CSS_SELECTOR, selector).text


def count(selector):
    return len(driver.find_elements(By.CSS_SELECTOR, selector))


def find(words):
    field = driver.find_element(By.ID, "find")
    field.clear()
    field.send_keys(words)
    field.send_keys(Keys.ENTER)


def picture(host):
    return driver.execute_script("return new Promise((done) => requestAnimationFrame(() => requestAnimationFrame(() => "
                                 f"done(document.querySelector('#{host} canvas').toDataURL()))))")


nasty = "</script><script>document.title='owned'</script>"
ports = {f"Ethernet{i}": {} for i in range(8)}
two = {"PORT": ports,
       "ACL_TABLE": {"OFFICE": {"type": "L3", "ports": ["Ethernet0", "Ethernet1", "Ethernet2"]},
                     "PRINTERS": {"type": "L3", "ports": ["Ethernet2", "Ethernet3"]}},
       "ACL_RULE": {"OFFICE|DNS": {"PRIORITY": "9", "DST_IP": nasty}, "OFFICE|WEB": {"PRIORITY": "8"}, f"PRINTERS|{nasty}": {"PRIORITY": "7"}}}
driver = browser()
try:
    show(page_of("two", two, "--variant", "hsdk"))
    check("two.json" in driver.title and "owned" not in driver.title, f"the title is {driver.title}")
    check("not match exactly as asked" in text("#verdict"), f"the verdict is {text('#verdict')}")
    check(count(".bit") == 32 + 128, f"{count('.bit')} bits are shown")
    check(count(".bit.taken") >= 8, "no pool is shown")
    check(nasty in driver.find_element(By.ID, "mismatches").text + driver.find_element(By.ID, "class-ids").text
          or nasty in driver.execute_script("return JSON.stringify(model.state.entries.map((e) => e.name))").replace("\\", ""),
          "a rule's name is lost")
    check(count("script") == 2, "a name has become a script")

    # A selection stands out everywhere, and goes again.
    before = {host: picture(host) for host in ("port-bits", "entry-ports")}
    find("OFFICE")
    check(text("#h-selection") == "OFFICE", f"selected is {text('#h-selection')}")
    check(count(".bit.on") >= 1 and count("#class-ids tr.on") == 1, "the bits and class IDs of OFFICE do not stand out")
    for host in before:
        check(picture(host) != before[host], f"{host} looks the same with a selection")
    find("Ethernet2")
    check("PRINTERS" in text("#details") and "newer" in text("#details"), f"Ethernet2 tells {text('#details')}")
    driver.find_element(By.ID, "clear").click()
    check(count(".bit.on") == 0 and count(".selecting") == 0, "the selection does not go")
    for host in before:
        check(picture(host) == before[host], f"{host} keeps something of the selection")

    # Without a mouse: a bit by arrows, a cell by arrows, Escape.
    driver.find_element(By.CSS_SELECTOR, ".bits .bit").send_keys(Keys.ARROW_RIGHT)
    driver.switch_to.active_element.send_keys(Keys.ENTER)
    check(text("#h-selection") == "Bit 1 of aclGroupFlexibleWidth", f"arrows led to {text('#h-selection')}")
    matrix = driver.find_element(By.CSS_SELECTOR, "#entry-ports .matrix")
    matrix.send_keys(Keys.ARROW_DOWN)
    said = driver.execute_script("return document.querySelector('#entry-ports [aria-live]').textContent")
    check("OFFICE|WEB" in said and "Ethernet0" in said, f"a screen reader hears {said}")
    matrix.send_keys(Keys.ENTER)
    check(text("#h-selection") == "OFFICE|WEB", f"Enter selected {text('#h-selection')}")
    check("wants" in text(".compare"), "no bits are compared")
    matrix.send_keys(Keys.ESCAPE)
    check(count(".bit.on") == 0, "Escape does not clear")
    unnamed = driver.execute_script("return [...document.querySelectorAll('button, input, [tabindex], [role]')].filter((e) => e.getAttribute('aria-hidden') !== 'true'"
                                    " && !(e.getAttribute('aria-label') || e.getAttribute('aria-labelledby') || e.labels?.length || e.textContent.trim()"
                                    " || ['tooltip', 'listbox', 'status', 'presentation'].includes(e.getAttribute('role')))).map((e) => e.outerHTML.slice(0, 80))")
    check(not unnamed, f"without a name for a screen reader: {unnamed}")

    # Dark, and on paper.
    light = picture("port-bits")
    driver.execute_cdp_cmd("Emulation.setEmulatedMedia", {"features": [{"name": "prefers-color-scheme", "value": "dark"}]})
    check(picture("port-bits") != light, "a dark page has light pictures")
    check(len(driver.execute_cdp_cmd("Page.printToPDF", {})["data"]) > 10000, "nothing is printed")

    # Before and after a plan: PRINTERS goes, GUESTS comes.
    after = json.loads(json.dumps(two))
    del after["ACL_TABLE"]["PRINTERS"], after["ACL_RULE"][f"PRINTERS|{nasty}"]
    after["ACL_TABLE"]["GUESTS"] = {"type": "L3", "ports": ["Ethernet5"]}
    after["ACL_RULE"]["GUESTS|WEB"] = {"PRIORITY": "5"}
    with open(f"{folder}/after.json", "w") as out:
        json.dump(after, out)
    done = subprocess.run([tool, "plan", "--from", f"{folder}/two.json", f"{folder}/after.json", "--html", f"{folder}/plan.html"],
                          stdout=subprocess.DEVNULL, timeout=600)
    check(done.returncode == 0, f"plan: exit {done.returncode}")
    show(f"{folder}/plan.html")
    check(count("#states input") == 2 and driver.find_element(By.ID, "states").is_displayed(), "there is no choice of before and after")
    names = "return model.state.entries.map((e) => e.name).join(' ')"
    shown = driver.execute_script(names)
    check("GUESTS" in shown and "PRINTERS" not in shown, f"afterwards there are {shown}")
    pictureAfter = picture("entry-ports")
    driver.find_elements(By.CSS_SELECTOR, "#states input")[0].click()
    shown = driver.execute_script(names)
    check("PRINTERS" in shown and "GUESTS" not in shown, f"before there are {shown}")
    check(picture("entry-ports") != pictureAfter, "before looks like after")

    # 10,000 rules on 512 ports.
    many = {"PORT": {f"Ethernet{i}": {} for i in range(512)}, "ACL_TABLE": {}, "ACL_RULE": {}}
    for table in range(50):
        many["ACL_TABLE"][f"T{table:02}"] = {"type": "L3", "ports": [f"Ethernet{p}" for p in range(table * 10, table * 10 + 20) if p < 512]}
        for rule in range(200):
            many["ACL_RULE"][f"T{table:02}|R{rule}"] = {"PRIORITY": str(1000 - rule)}
    html = page_of("many", many)
    check(os.path.getsize(html) < 4 << 20, f"the page of 10,000 rules has {os.path.getsize(html)} bytes")
    start = time.monotonic()
    show(html)
    check("10,000 entries" in text("#verdict") or "rules were refused" in text("#verdict"), text("#verdict"))
    loaded = time.monotonic() - start
    milliseconds = driver.execute_script("const start = performance.now(); selection.select({ table: 'T07' }); entryPorts.draw(); portBits.draw(); return performance.now() - start")
    check(count("#class-ids tr.on") == 1, "the table of 10,000 rules has no class ID")
    check(driver.execute_script("return document.querySelectorAll('*').length") < 20000, "the page is all elements")
    check(loaded < 20 and milliseconds < 2000, f"10,000 rules: loaded in {loaded:.1f} s, selected in {milliseconds:.0f} ms")
    noise = driver.get_log("browser")
    check(not noise, f"the console says {noise}")
    print(f"10,000 rules on 512 ports: {os.path.getsize(html)} bytes, loaded in {loaded:.1f} s, selected in {milliseconds:.0f} ms")
finally:
    driver.quit()
