"""The console in headless Chromium: a sale preset by a POS client and started from the page."""
import base64
import os
import shutil

import pytest
from selenium import webdriver
from selenium.webdriver.chrome.service import Service
from selenium.webdriver.common.by import By
from selenium.webdriver.common.keys import Keys

from conftest import pos, wait_for

FLAGS = ["--headless", "--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run",
         "--disable-background-networking", "--disable-component-update", "--disable-sync",
         "--window-size=1500,1150"]
SHOT = os.path.join(os.environ.get("KV_BINARY_DIR", "build"), "web", "console.png")


@pytest.fixture
def browser(tmp_path):
    options = webdriver.ChromeOptions()
    options.binary_location = shutil.which("chromium") or "/usr/bin/chromium"
    for flag in FLAGS + ["--user-data-dir=%s" % (tmp_path / "profile")]:
        options.add_argument(flag)
    driver = webdriver.Chrome(service=Service("/usr/bin/chromedriver"), options=options)
    yield driver
    driver.quit()


def until(what, check, timeout=20):
    return wait_for(check, timeout, 0.05, "waiting for " + what)


@pytest.mark.kvsim_args("--flow", "1.2")
def test_preset_sale_from_the_page(kvsim, browser):
    browser.get(kvsim.url)
    cards = until("eight pump cards", lambda: browser.find_elements(By.CSS_SELECTOR, ".pump[data-pump]")
                  if len(browser.find_elements(By.CSS_SELECTOR, ".pump[data-pump]")) == 8 else None)
    assert [c.get_attribute("data-pump") for c in cards] == [str(n) for n in range(1, 9)]
    card = browser.find_element(By.CSS_SELECTOR, '[data-pump="1"]')
    field = lambda name: card.find_element(By.CSS_SELECTOR, '[data-field="%s"]' % name).text
    tank_no = kvsim.state()["pumps"][0]["hoses"][0]["tank"]
    tank = browser.find_element(By.CSS_SELECTOR, '.tank[data-tank="%d"]' % tank_no)
    gauge = lambda: (float(tank.get_attribute("data-volume")),   # and the fill's height in %
                     float(tank.find_element(By.CSS_SELECTOR, ".fill").get_attribute("style").split()[1][:-2]))
    volume0, height0 = gauge()
    assert height0 > 0

    client = pos(kvsim, 7)
    client.pump(1).preset(money=6)
    until("pump 1 authorised", lambda: card.get_attribute("data-state") == "3")
    assert "preset money 6.00" in field("auth")
    until("the POS client listed", lambda: "7" in [r.get_attribute("data-client") for r in
                                                    browser.find_elements(By.CSS_SELECTOR, "#clients tr[data-client]")])

    card.find_element(By.CSS_SELECTOR, 'button[data-action="lift"]').click()
    seen = []

    def watch(target):
        s = card.get_attribute("data-state")
        if not seen or seen[-1] != s:
            seen.append(s)
        return s == target

    until("delivering", lambda: watch("4"))
    until("money running", lambda: watch("4") and float(field("money")) >= 2.0 or watch("5"))
    os.makedirs(os.path.dirname(SHOT), exist_ok=True)
    shot = browser.execute_cdp_cmd("Page.captureScreenshot", {"format": "png", "clip": {
        "x": 0, "y": 0, "width": 1500, "height": 1000, "scale": 0.75}})   # small enough for the docs
    with open(SHOT, "wb") as f:
        f.write(base64.b64decode(shot["data"]))
    until("finished", lambda: watch("5"), timeout=30)
    assert seen[-2:] == ["4", "5"], seen
    assert field("state") == "Finished" and field("money") == "6.00"
    litres = float(field("volume"))
    volume1, height1 = until("the gauge to drop", lambda: gauge() if gauge()[0] < volume0 else None)
    assert volume1 == pytest.approx(volume0 - litres, abs=0.01) and height1 < height0
    log = browser.find_element(By.ID, "log").text
    assert "DeliveryEvent" in log and "pump 1" in log

    card.find_element(By.CSS_SELECTOR, 'button[data-action="hang"]').click()
    until("idle again", lambda: card.get_attribute("data-state") == "1")

    # The other actions: each must be a command kvsim takes, with the effect it names.
    css = lambda sel: browser.find_element(By.CSS_SELECTOR, sel)

    def type_in(sel, text):   # clear() would blur it, and the next state would refill it
        css(sel).send_keys(Keys.CONTROL + "a" + Keys.NULL, text, Keys.TAB)

    def open_faults(pump):
        css('[data-pump="%d"] details summary' % pump).click()

    actions = [
        ("price 2 1 1.777", lambda: type_in('#grades tr[data-grade="2"] input[data-level="1"]', "1.777"),
         lambda s: s["grades"][1]["price1"] == 1.777),
        ("tank 2 20000", lambda: css('.tank[data-tank="2"] [data-action="fill"]').click(),
         lambda s: s["tanks"][1]["volume"] == 20000),
        ("alarm 3 2 1", lambda: (type_in('.tank[data-tank="3"] [data-role="alarm"]', "2"),
                                 css('.tank[data-tank="3"] [data-action="alarm-on"]').click()),
         lambda s: s["tanks"][2]["alarms"] == 4),
        ("flow 2 2.5", lambda: (open_faults(2), type_in('[data-pump="2"] [data-role="flow"]', "2.5"),
                                css('[data-pump="2"] [data-action="flow"]').click()),
         lambda s: s["pumps"][1]["flow"] == 2.5),
        ("auto on", lambda: css("#auto").click(), lambda s: s["auto"]),
        ("drop 7", lambda: css('#clients tr[data-client="7"] [data-action="drop"]').click(),
         lambda s: not s["clients"][0]["callOpen"]),
        ("offline 3", lambda: (open_faults(3), css('[data-pump="3"] [data-action="offline"]').click()),
         lambda s: s["pumps"][2]["offline"] and s["pumps"][2]["state"] == 9),
    ]
    for line, act, effect in actions:
        act()
        until(line, lambda: css("#reply").text.startswith(line))
        assert effect(kvsim.state()), (line, css("#reply").text)
        assert (css("#reply").get_attribute("class") == "error") == (" \u2192 error" in css("#reply").text)
    client.close()
