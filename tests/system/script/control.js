// Every property and every method as a script meets it, without a camera and outside any container: what a new control
// holds, that what is written comes back, and what a method gives when there is nothing to act on.

// The documentation's tables: name, value of a new control, whether it can be written.
var PROPERTIES = [];

// Name, [arguments, result] pairs. A result of undefined is a method without one.
var METHODS = [
    ["Disconnect", ["", 0]],
    ["DisconnectServer", ["", 0]],
    ["GetPresetName", ["", ""]],
    ["SavePresetPosition", ["'gate', 7", undefined]],
    ["SendCameraCommand", ["'home', 1", -1], ["'', 1", -1]],
    ["StartRecording", ["1", 0], ["0", 0]],  // a wish, for when something is received
    ["StopRecording", ["1", 0], ["1", 0]],
    ["HttpCommand", ["'GET', '', '/x', true", ""], ["'POST', '', '/x?a=1', false", ""],
        ["'get', '127.0.0.1', '/x', true", ""], ["'', '127.0.0.1', '/x', true", ""]],
    ["PreviewFullScreen", ["false", undefined]],
    ["SaveClientSetting", ["", -1]],
    ["SetClientReg", ["'ScriptTest', 1, 'Name', 'other \u4e2d'", undefined]],
    ["GetClientReg", ["'ScriptTest', 1, 'Name', '?'", "other \u4e2d"], ["'ScriptTest', 2, 'Name', '?'", "?"]],
    ["AudioPost", ["true", false], ["false", true]],
    ["AudioPostEx", ["true, '', 1, 8000", false], ["false, '', 0, 0", true]],
    ["SetMulticastInfo", ["'239.1.1.1', '5000', '5002'", undefined]],
    ["SetMulticastInfoEx", ["'239.1.1.1', 5000, '239.1.1.2', 5002", undefined]],
    ["SetMulticastInfoByType", ["3, '239.1.1.4', 5006", 0], ["4, '239.1.1.5', 5008", E_INVALIDARG]],
    ["SaveSnapShot", ["'C:\\\\', '', true", undefined]],
    ["GetSnapshotData", ["1", undefined], ["99", undefined]],
    ["CreateOverlappedWindow", ["5, 0, 0, 64, 64, true, true, 'caption'", E_FAIL]],
    ["DeleteOverlappedWindow", ["5", E_FAIL], ["-1", E_FAIL]],
    ["GetOverlappedWindowInJSON", ["5", ""]],
    ["SetVideoSize", ["640, 480", 0], ["-1, 480", E_INVALIDARG], ["0, 0", 0]],
    ["ConvertCoordinateInJSON", ["10, 10, true", ""], ["10, 10, false", ""]],
    ["RotateVideo", ["90", E_POINTER], ["-90", E_POINTER], ["45", E_INVALIDARG]],
    ["ChangeDecodeSpeed", ["3", E_POINTER]],
    ["EnableDigitalPTZ", ["true", undefined], ["false", undefined]],
    ["CreatePen", ["255, 0, 0, 2, 0", E_POINTER]],
    ["CreateBrush", ["0, 255, 0", E_POINTER]],
    ["CreateFont", ["0, 0, 255, 120, 'Arial'", E_POINTER]],
    ["DrawLine", ["0, 0, 10, 10, 0", E_POINTER]],
    ["DrawRectangle", ["0, 0, 10, 10, 0, 0", E_POINTER]],
    ["DrawEllipse", ["0, 0, 10, 10, 0, 0", E_POINTER]],
    ["DrawText", ["'text', 0, 0, 10, 10, 0, 0, 0", E_POINTER]],
    ["RemoveGraphicObj", ["0", E_POINTER]],
    ["RemoveAllGraphicObjs", ["", E_POINTER]],
    ["Connect", ["", -1]],
    ["ConnectServer", ["", -1]]
];

function versionOfTheFile() {
    var module = new ActiveXObject("WScript.Shell")
        .RegRead("HKCR\\CLSID\\{A0C4B5E1-6D0B-4F43-9C37-5C1E2D7B8024}\\InprocServer32\\");
    return new ActiveXObject("Scripting.FileSystemObject").GetFileVersion(module);
}

// Another one for each property, so that two that share a place are found.
function valueFor(index) {
    switch (typeof PROPERTIES[index][1]) {
    case "boolean": return !PROPERTIES[index][1];
    case "number": return 2000 + index;
    default: return "K\u00e4mmerer \u4e2d\u6587 \ud83d\ude00 " + index;
    }
}

function initialValue(type, text) {
    switch (type) {
    case "BOOL": return text === "TRUE";
    case "string": return text === "version of the file" ? versionOfTheFile() : text === "empty" ? "" : text;
    default: return parseInt(text, 10);
    }
}

group("the documentation", function () {
    var document = read("\\docs\\automation.md");
    forEachMatch(/<a id="(\w+)"><\/a>`\w+` \| (\w+)(, read-only)? \| (.*?) \|/g, document, function (match) {
        PROPERTIES.push([match[1], initialValue(match[2], match[4]), match[3] !== ""]);
    });
    equal("properties", 45, PROPERTIES.length);
});

var control;
group("a new control", function () {
    control = create();
    for (var i = 0; i < PROPERTIES.length; ++i) equal(PROPERTIES[i][0], PROPERTIES[i][1], control[PROPERTIES[i][0]]);
});

group("a method with nothing to act on", function () {
    for (var i = 0; i < METHODS.length; ++i) {
        for (var j = 1; j < METHODS[i].length; ++j) {
            // By text, because a host object's method cannot be applied to an array of arguments.
            var call = METHODS[i][0] + "(" + METHODS[i][j][0] + ")";
            equal(call, METHODS[i][j][1], eval("control." + call));
        }
    }
    equal("ConnectStatus", 3, control.ConnectStatus);
});

group("what is written", function () {
    var written = create();
    for (var i = 0; i < PROPERTIES.length; ++i) {
        if (!PROPERTIES[i][2]) written[PROPERTIES[i][0]] = valueFor(i);
    }
    for (i = 0; i < PROPERTIES.length; ++i) {
        equal(PROPERTIES[i][0], PROPERTIES[i][2] ? PROPERTIES[i][1] : valueFor(i), written[PROPERTIES[i][0]]);
    }
    equal("another control's ServerIP", "", control.ServerIP);

    var megabyte = "a\u0000b";
    while (megabyte.length < 1024 * 1024) megabyte += megabyte;
    written.ServerIP = megabyte;
    equal("a very long text", megabyte, written.ServerIP);
});

finish();
