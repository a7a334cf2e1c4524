// Every method as a script meets it, without a camera and outside any container: how arguments are checked, and what
// comes back when there is nothing to act on.

// Name, kinds of the parameters, [arguments, result] pairs. A result of undefined is a method without one.
var METHODS = [
    ["Connect", [], []],           // its own group below
    ["ConnectServer", [], []],
    ["Disconnect", [], [["", 0]]],
    ["DisconnectServer", [], [["", 0]]],
    ["GetPresetName", [], [["", ""]]],
    ["SavePresetPosition", ["string", "short"], [["'gate', 7", undefined]]],
    ["SendCameraCommand", ["string", "short"], [["'home', 1", -1], ["'', 1", -1]]],
    ["StartRecording", ["short"], [["1", E_FAIL], ["0", E_FAIL]]],
    ["StopRecording", ["short"], [["1", 0], ["1", 0]]],
    ["HttpCommand", ["string", "string", "string", "bool"],
        [["'GET', '', '/x', true", ""], ["'POST', '', '/x?a=1', false", ""], ["'get', '127.0.0.1', '/x', true", ""],
         ["'', '127.0.0.1', '/x', true", ""]]],
    ["PreviewFullScreen", ["bool"], [["false", undefined]]],
    ["SaveClientSetting", [], [["", -1]]],
    ["SetClientReg", ["string", "long", "string", "string"], []],
    ["GetClientReg", ["string", "long", "string", "string"], []],
    ["AudioPost", ["bool"], [["true", false], ["false", true]]],
    ["AudioPostEx", ["bool", "string", "short", "long"], [["true, '', 1, 8000", false], ["false, '', 0, 0", true]]],
    ["SetMulticastInfo", ["string", "string", "string"], [["'239.1.1.1', '5000', '5002'", undefined]]],
    ["SetMulticastInfoEx", ["string", "long", "string", "long"], [["'239.1.1.1', 5000, '239.1.1.2', 5002", undefined]]],
    ["SetMulticastInfoByType", ["long", "string", "long"],
        [["0, '239.1.1.1', 5000", 0], ["1, '239.1.1.2', 5002", 0], ["2, '239.1.1.3', 5004", 0],
         ["3, '239.1.1.4', 5006", 0], ["4, '239.1.1.5', 5008", E_INVALIDARG], ["-1, '239.1.1.5', 5008", E_INVALIDARG],
         ["0, '239.1.1.5', 65536", E_INVALIDARG], ["0, '239.1.1.5', -1", E_INVALIDARG]]],
    ["SaveSnapShot", ["string", "string", "bool"], [["'C:\\\\', '', true", undefined]]],
    ["GetSnapshotData", ["long"], [["1", undefined], ["99", undefined]]],
    ["CreateOverlappedWindow", ["long", "long", "long", "long", "long", "bool", "bool", "string"],
        [["5, 0, 0, 64, 64, true, true, 'caption'", E_POINTER]]],
    ["DeleteOverlappedWindow", ["long"], [["5", E_FAIL], ["-1", E_FAIL]]],
    ["GetOverlappedWindowInJSON", ["long"], [["5", ""]]],
    ["SetVideoSize", ["long", "long"],
        [["640, 480", 0], ["-1, 480", E_INVALIDARG], ["640, -1", E_INVALIDARG], ["0, 0", 0]]],
    ["ConvertCoordinateInJSON", ["long", "long", "bool"], [["10, 10, true", ""], ["10, 10, false", ""]]],
    ["RotateVideo", ["long"], [["90", E_POINTER], ["-90", E_POINTER], ["45", E_INVALIDARG], ["-1", E_INVALIDARG]]],
    ["ChangeDecodeSpeed", ["long"], [["3", E_POINTER]]],
    ["EnableDigitalPTZ", ["bool"], [["true", undefined], ["false", undefined]]],
    ["CreatePen", ["short", "short", "short", "short", "short"], [["255, 0, 0, 2, 0", E_POINTER]]],
    ["CreateBrush", ["short", "short", "short"], [["0, 255, 0", E_POINTER]]],
    ["CreateFont", ["short", "short", "short", "long", "string"], [["0, 0, 255, 120, 'Arial'", E_POINTER]]],
    ["DrawLine", ["long", "long", "long", "long", "long"], [["0, 0, 10, 10, 0", E_POINTER]]],
    ["DrawRectangle", ["long", "long", "long", "long", "long", "long"], [["0, 0, 10, 10, 0, 0", E_POINTER]]],
    ["DrawEllipse", ["long", "long", "long", "long", "long", "long"], [["0, 0, 10, 10, 0, 0", E_POINTER]]],
    ["DrawText", ["string", "long", "long", "long", "long", "short", "long", "long"],
        [["'text', 0, 0, 10, 10, 0, 0, 0", E_POINTER]]],
    ["RemoveGraphicObj", ["long"], [["0", E_POINTER]]],
    ["RemoveAllGraphicObjs", [], [["", E_POINTER]]]
];

// An acceptable value of each kind, and what cannot be converted to it.
var GOOD = { string: "'a'", bool: "false", short: "1", long: "1" };
var BAD = {
    string: [["null", DISP_E_TYPEMISMATCH]],
    bool: [["'perhaps'", DISP_E_TYPEMISMATCH], ["null", DISP_E_TYPEMISMATCH]],
    short: [["'abc'", DISP_E_TYPEMISMATCH], ["null", DISP_E_TYPEMISMATCH], ["70000", DISP_E_OVERFLOW]],
    long: [["'abc'", DISP_E_TYPEMISMATCH], ["null", DISP_E_TYPEMISMATCH], ["5e9", DISP_E_OVERFLOW]]
};

var control;
group("creation", function () { control = create(); });

// Calls by text, because a host object's method cannot be applied to an array of arguments.
function call(name, argumentText) {
    return eval("control." + name + "(" + argumentText + ")");
}

function goodArguments(kinds) {
    var texts = [];
    for (var i = 0; i < kinds.length; ++i) texts[i] = GOOD[kinds[i]];
    return texts;
}

function forEachMethod(title, action) {
    for (var i = 0; i < METHODS.length; ++i) {
        var row = METHODS[i];
        group(row[0] + " " + title, function () { action(row[0], row[1], row[2]); });
    }
}

forEachMethod("with too many or too few arguments", function (name, kinds) {
    var good = goodArguments(kinds);
    refuses("one more", DISP_E_BADPARAMCOUNT, function () { call(name, good.concat("1").join()); });
    if (kinds.length === 0) return;
    refuses("one less", DISP_E_BADPARAMCOUNT, function () { call(name, good.slice(1).join()); });
    refuses("none", DISP_E_BADPARAMCOUNT, function () { call(name, ""); });
});

forEachMethod("with an argument of the wrong type", function (name, kinds) {
    for (var i = 0; i < kinds.length; ++i) {
        for (var j = 0; j < BAD[kinds[i]].length; ++j) {
            var texts = goodArguments(kinds);
            texts[i] = BAD[kinds[i]][j][0];
            refuses(texts.join(), BAD[kinds[i]][j][1], function () { call(name, texts.join()); });
        }
    }
});

group("refused calls", function () {
    equal("state of the connection", 2, control.ConnectStatus);
    equal("protocol", 1, control.VideoProtocol);
});

forEachMethod("with nothing to act on", function (name, kinds, cases) {
    for (var i = 0; i < cases.length; ++i) equal(cases[i][0], cases[i][1], call(name, cases[i][0]));
});

group("a method read like a property", function () {
    refuses("assignment", DISP_E_MEMBERNOTFOUND, function () { control.Connect = 1; });
});

group("Connect", function () {
    // There is nothing yet that could receive a stream, so each attempt fails at once.
    control.ServerIP = "127.0.0.1";
    equal("result", -1, control.Connect());
    equal("state", 3, control.ConnectStatus);
    equal("result of a second attempt", -1, control.ConnectServer());
    equal("Disconnect", 0, control.Disconnect());
    equal("state after Disconnect", 2, control.ConnectStatus);
    equal("Disconnect once more", 0, control.DisconnectServer());
});

group("coordinates", function () {
    // The control has a hidden window by now.
    equal("SetVideoSize", 0, control.SetVideoSize(1920, 1080));
    var origin = control.ConvertCoordinateInJSON(0, 0, true);
    equal("origin", "{ \"x\": 0, \"y\": 0 }", origin);
    var corner = /^\{ "x": (\d+), "y": (\d+) \}$/.exec(control.ConvertCoordinateInJSON(1920, 1080, true));
    check("corner", corner !== null);
    equal("corner and back", "{ \"x\": 1920, \"y\": 1080 }",
          control.ConvertCoordinateInJSON(Number(corner[1]), Number(corner[2]), false));
    equal("SetVideoSize off", 0, control.SetVideoSize(0, 0));
    equal("without a picture size", "", control.ConvertCoordinateInJSON(10, 10, true));
});

group("client settings", function () {
    var shell = new ActiveXObject("WScript.Shell");
    control.SetClientReg("ScriptTest A", 1, "Name", "one");
    control.SetClientReg("ScriptTest A", 2, "Name", "two");
    control.SetClientReg("ScriptTest B", 1, "Name", "other \u4e2d");
    equal("first channel", "one", control.GetClientReg("ScriptTest A", 1, "Name", "?"));
    equal("second channel", "two", control.GetClientReg("ScriptTest A", 2, "Name", "?"));
    equal("other model", "other \u4e2d", control.GetClientReg("ScriptTest B", 1, "Name", "?"));
    equal("missing name", "?", control.GetClientReg("ScriptTest A", 1, "Missing", "?"));
    equal("missing channel", "", control.GetClientReg("ScriptTest A", 3, "Name", ""));
    control.SetClientReg("ScriptTest A", 1, "Name", "");
    equal("emptied", "", control.GetClientReg("ScriptTest A", 1, "Name", "?"));
    equal("in the registry", "two", shell.RegRead("HKCU\\Software\\Norix\\ScriptTest A\\CH2\\Name"));
    shell.RegWrite("HKCU\\Software\\Norix\\ScriptTest A\\CH2\\Name", 5, "REG_DWORD");
    equal("a number in its place", "?", control.GetClientReg("ScriptTest A", 2, "Name", "?"));
});

group("many controls", function () {
    var all = [];
    for (var i = 0; i < 50; ++i) {
        all[i] = create();
        all[i].ServerIP = "host" + i;
        all[i].Connect();
    }
    for (i = 0; i < 50; ++i) equal("control " + i, "host" + i, all[i].ServerIP);
    all = null;
    CollectGarbage();
});

finish();
