"""The registry of the server whose setup page is tested."""

import json
import os

EVIL_NAME = "<img src=x onerror=\"document.title='broken'\">"
EVIL_HELP = "</p><script>document.title='broken'</script> & <b>bold</b> {{7*7}} javascript:alert(1)"
EVIL_CHOICE = "\"><svg onload=document.title='broken'>"
EVIL_MENU = "<u>Odd</u> & 50% 'quoted'/slash"
BULK = 1200  # settings in menus of 100
LONG = 250  # settings in one menu


def attribute(name, kind, default, menu="./Main", **members):
    return {"AttributeName": name, "Type": kind, "DisplayName": members.pop("DisplayName", name + " setting"),
            "MenuPath": menu, "ReadOnly": False, "ResetRequired": True, "DefaultValue": default,
            "CurrentValue": default, **members}


def choice(name, default, values, **members):
    return attribute(name, "Enumeration", default, **members,
                     Value=[{"ValueName": value, "ValueDisplayName": value} for value in values])


def integer(name, default, lower, upper, step=1, **members):
    return attribute(name, "Integer", default, LowerBound=lower, UpperBound=upper, ScalarIncrement=step,
                     **members)


def dependency(cause, target, prop, value, condition="EQU", wanted=None):
    return {"DependencyFor": cause, "Type": "Map", "Dependency": {
        "MapFrom": [{"MapFromAttribute": cause, "MapFromProperty": "CurrentValue",
                     "MapFromCondition": condition, "MapFromValue": wanted}],
        "MapToAttribute": target, "MapToProperty": prop, "MapToValue": value}}


def menu(path, order, title=None, **members):
    return {"MenuName": path.rpartition("/")[2], "DisplayName": title or path.rpartition("/")[2],
            "DisplayOrder": order, "MenuPath": path, "ReadOnly": False, "Hidden": False, **members}


def attributes():
    modes = ("Normal", "Custom", "Legacy")
    yield choice("Mode", "Normal", modes, HelpText="What the server is for.",
                 WarningText="Some modes switch others off.", DisplayOrder=1)
    yield integer("Speed", 50, 0, 100, 10, DisplayOrder=3)
    yield integer("Delay", 5, 0, 60, DisplayOrder=2)
    yield attribute("Label", "String", "", MinLength=0, MaxLength=20, ValueExpression="^[A-Z]*$",
                    DisplayOrder=4)
    yield attribute("Fast", "Boolean", True, DisplayOrder=5)
    yield attribute("Note", "String", "", MinLength=0, MaxLength=40, DisplayOrder=6)
    yield choice("Concealed", "A", ("A", "B"), DisplayOrder=7)
    yield choice("Locked", "A", ("A", "B"), DisplayOrder=8)
    yield choice("Grayed", "A", ("A", "B"), DisplayOrder=9)
    yield integer("Limited", 10, 0, 100, DisplayOrder=10)
    yield integer("Follower", 10, 0, 100, DisplayOrder=11)
    yield attribute("Fixed", "String", "as it is", ReadOnly=True, MinLength=0, MaxLength=40, DisplayOrder=12)
    yield choice("NeverShown", "A", ("A", "B"), Hidden=True, DisplayOrder=13)
    yield choice("Evil", "A", ("A", EVIL_CHOICE), menu="./Odd", DisplayName=EVIL_NAME, HelpText=EVIL_HELP)
    yield choice("InReadOnlyMenu", "A", ("A", "B"), menu="./ReadOnly")
    yield choice("InHiddenMenu", "A", ("A", "B"), menu="./Hidden")
    yield choice("InEmptyMenu", "A", ("A", "B"), menu="./Empty", Hidden=True)
    yield choice("InNoMenu", "A", ("A", "B"), menu="")
    for i in range(BULK):
        yield integer(f"Bulk{i}", i % 50, 0, 100, menu=f"./Bulk/Group {i // 100}", HelpText=f"Number {i}.")
    for i in range(LONG):
        yield choice(f"Long{i}", "A", ("A", "B"), menu="./Long")


def page_registry():
    menus = [menu("./Main", 1), menu("./Long", 2), menu("./Bulk", 3), menu("./Odd", 4, EVIL_MENU),
             menu("./ReadOnly", 5, ReadOnly=True), menu("./Hidden", 6, Hidden=True)]
    dependencies = [
        dependency("Mode", "Concealed", "Hidden", True, wanted="Legacy"),
        dependency("Mode", "Locked", "ReadOnly", True, "NEQ", "Custom"),
        dependency("Fast", "Grayed", "GrayOut", True, wanted=False),
        dependency("Fast", "Limited", "UpperBound", 40, wanted=False),
        dependency("Mode", "Follower", "CurrentValue", 30, wanted="Legacy"),
    ]
    return {"@odata.type": "#AttributeRegistry.v1_3_6.AttributeRegistry", "Id": "PageRegistry.1.0.0",
            "Name": "Registry of the page's tests", "Language": "en", "OwningEntity": "Tests",
            "RegistryVersion": "1.0.0",
            "RegistryEntries": {"Attributes": list(attributes()), "Menus": menus,
                                "Dependencies": dependencies}}


def write_page_registry(folder):
    path = os.path.join(folder, "page.registry.json")
    with open(path, "w", encoding="utf-8") as file:
        json.dump(page_registry(), file)
    return path
