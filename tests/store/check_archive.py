"""Reads an archive as an independent reader and prints what it holds, one record a line.

The classes must come with their chains, every reference must lead somewhere, and the keys of the
records must be those of the format.
"""
import plistlib
import sys

SNIPPET = ["UUID", "Abbreviation", "Aliases", "Label", "ContentType", "CaseSensitivity",
           "DateCreated", "DateModified", "LastTimeUsed", "Note", "Content", "$class"]
GROUP = ["UUID", "DateCreated", "Name", "Items", "ExpandAfter", "ExpandAfterDelimiters",
         "ExpandTrigger", "Delimiters", "CaseSensitivity", "ShowInMenuBar",
         "ShowInMenuBarAtFirstLevel", "SuggestAbbreviations", "AbbreviationPrefix", "EnabledIn",
         "Applications", "InputMethodsOption", "InputMethods", "ResetFormatting", "$class"]


def main():
    with open(sys.argv[1], "rb") as file:
        archive = plistlib.load(file)
    assert archive["$archiver"] == "NSKeyedArchiver" and archive["$version"] == 100000
    objects = archive["$objects"]
    assert objects[0] == "$null"

    def get(uid):
        return objects[uid.data]

    def chain(value):
        record = get(value["$class"])
        assert record["$classes"][0] == record["$classname"]
        assert record["$classes"][-1] == "NSObject"
        return record["$classes"]

    def array(uid):
        assert "NSArray" in chain(get(uid))
        return [get(element) for element in get(uid)["NS.objects"]]

    def references(value):
        if isinstance(value, plistlib.UID):
            assert value.data < len(objects)
        elif isinstance(value, dict):
            for member in value.values():
                references(member)
        elif isinstance(value, list):
            for element in value:
                references(element)

    for value in objects:
        references(value)
    root = get(archive["$top"]["root"])
    assert chain(root)[:2] in (["NSMutableDictionary", "NSDictionary"], ["NSDictionary", "NSObject"])
    members = {get(k): v for k, v in zip(root["NS.keys"], root["NS.objects"])}
    print(" ".join(members))
    for group in array(members["Snippets"]):
        assert chain(group) == ["SnippetGroup", "NSObject"]
        assert [key for key in GROUP if key in group] == list(group), list(group)
        print("group", get(group["Name"]), group["ExpandTrigger"], group["ShowInMenuBar"])
        for item in array(group["Items"]):
            assert chain(item) == ["Snippet", "NSObject"]
            assert list(item) == SNIPPET, list(item)
            assert "NSDate" in chain(get(item["DateCreated"]))
            content = get(item["Content"])
            if isinstance(content, dict):
                assert chain(content) == ["NSAttributedString", "NSObject"]
                content = get(content["NSString"])
            print("snippet", get(item["Abbreviation"]), item["ContentType"], content)


main()
