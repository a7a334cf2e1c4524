// Every property as a script meets it: what it is at first, what can be written, what comes back, what is refused.

// Name, kind, value of a new control. Read-only ones have no kind to write with.
var PROPERTIES = [
    ["ServerIP", "string", ""],
    ["RecordVideoPath", "string", ""],
    ["MotionEditMode", "bool", false],
    ["RecordMaxFileSize", "long", 0],
    ["RecordMaxFileTimeLength", "seconds", 10],
    ["username", "string", ""],
    ["password", "string", ""],
    ["RecordManualNaming", "bool", false],
    ["HttpPort", "long", 80],
    ["ForceGDI", "bool", false],
    ["EnableAudioControl", "bool", false],
    ["MagicCode", "string", ""],
    ["VoiceMute", "bool", false],
    ["VoiceVolume", "long", 0],
    ["ShowMDWindow", "bool", false],
    ["NotifyVideoData", "bool", false],
    ["NotifyNewPacket", "bool", false],
    ["DeInterlace", "bool", false],
    ["ClientSettingMode", "bool", false],
    ["VideoProtocol", "short", 1],
    ["Display", "bool", true],
    ["ConnectStatus", "", 2],
    ["MediaType", "short", -1],
    ["VideoFrameRate", "", 0],
    ["RecordFileName", "string", ""],
    ["GetStreamType", "", 0],
    ["IgnoreBorder", "bool", false],
    ["IgnoreCaption", "bool", false],
    ["ServerModelType", "string", ""],
    ["DecodeAV", "bool", true],
    ["RecordStatus", "short", 0],
    ["ConnectionTimeout", "atLeast1000", 5000],
    ["AutoReconnect", "bool", false],
    ["FrameRate", "", 0],
    ["CHIndex", "atLeast1", 1],
    ["InterfaceAddress", "string", ""],
    ["StreamingType", "long", 0],
    ["StreamIndex", "atLeast1", 1],
    ["IFrameOnly", "bool", false],
    ["CaptionInfo", "long", 255],
    ["MediaServiceUri", "string", ""],
    ["ProfileToken", "string", ""],
    ["StreamUri", "string", ""],
    ["VersionInfo", "string", null],  // see below
    ["ShowUserAuthenticationDialog", "bool", true]
];

var MEGABYTE = "x";
while (MEGABYTE.length < 1024 * 1024) MEGABYTE += MEGABYTE;

var NUMBERS = [[0, 0], [7, 7], [-1, -1], ["123", 123], ["-5", -5], [2.75, 3], [true, -1], [undefined, 0]];

// What is written, and what a read then gives.
var ACCEPTED = {
    string: [["camera.example", "camera.example"], ["", ""], ["K\u00e4mmerer \u4e2d\u6587 \ud83d\ude00", null],
             ["a\u0000b", null], [123, "123"], [-1.5, "-1.5"], [undefined, ""], [MEGABYTE, null]],
    bool: [[true, true], [false, false], [1, true], [0, false], [-1, true], [256, true], [0.25, true], ["True", true],
           ["0", false], [undefined, false]],
    short: NUMBERS.concat([[32767, 32767], [-32768, -32768]]),
    long: NUMBERS.concat([[2147483647, 2147483647], [-2147483648, -2147483648]]),
    atLeast1000: [[1000, 1000], [1001, 1001], [60000, 60000], [999, 1000], [0, 1000], [-1, 1000], [-2147483648, 1000],
                  ["2500", 2500], ["12", 1000], [2147483647, 2147483647]],
    atLeast1: [[1, 1], [2, 2], [64, 64], [0, 1], [-1, 1], [-2147483648, 1], ["3", 3], [2147483647, 2147483647]],
    seconds: [[0, 0], [10, 10], [86400, 86400], [86401, 86400], [2147483647, 86400], [-1, 0], ["60", 60]]
};

var NO_NUMBER = [["abc", DISP_E_TYPEMISMATCH], ["", DISP_E_TYPEMISMATCH], [null, DISP_E_TYPEMISMATCH]];
var NO_LONG = NO_NUMBER.concat([[2147483648, DISP_E_OVERFLOW], [-2147483649, DISP_E_OVERFLOW], [1e300, DISP_E_OVERFLOW]]);
var REFUSED = {
    string: [[null, DISP_E_TYPEMISMATCH]],
    bool: [["perhaps", DISP_E_TYPEMISMATCH], [null, DISP_E_TYPEMISMATCH]],
    short: NO_NUMBER.concat([[32768, DISP_E_OVERFLOW], [-32769, DISP_E_OVERFLOW], [100000, DISP_E_OVERFLOW]]),
    long: NO_LONG,
    atLeast1000: NO_LONG,
    atLeast1: NO_LONG,
    seconds: NO_LONG
};

var groupTitle;

function forEachProperty(action) {
    for (var i = 0; i < PROPERTIES.length; ++i) {
        var row = PROPERTIES[i];
        group(groupTitle + " " + row[0], function () { action(row[0], row[1], row[2]); });
    }
}

var fresh, written;
group("creation", function () {
    fresh = create();
    written = create();
});

groupTitle = "a new control's";
forEachProperty(function (name, kind, initial) {
    if (initial !== null) equal("value", initial, fresh[name]);
});

groupTitle = "written";
forEachProperty(function (name, kind) {
    if (kind === "") return;
    var cases = ACCEPTED[kind];
    for (var i = 0; i < cases.length; ++i) {
        written[name] = cases[i][0];
        equal("after " + show(cases[i][0]), cases[i][1] === null ? cases[i][0] : cases[i][1], written[name]);
    }
});

groupTitle = "refused";
forEachProperty(function (name, kind) {
    if (kind === "") return;
    var before = written[name];
    var cases = REFUSED[kind];
    for (var i = 0; i < cases.length; ++i) {
        refuses(show(cases[i][0]), cases[i][1], function () { written[name] = cases[i][0]; });
        equal("value after " + show(cases[i][0]), before, written[name]);
    }
});

groupTitle = "read-only";
forEachProperty(function (name, kind, initial) {
    if (kind !== "") return;
    refuses("a number", CTL_E_SETNOTSUPPORTED, function () { written[name] = 1; });
    refuses("a text", CTL_E_SETNOTSUPPORTED, function () { written[name] = "abc"; });
    equal("value", initial, written[name]);
});

group("another control", function () {
    fresh.ServerIP = "one.example";
    written.ServerIP = "two.example";
    equal("first", "one.example", fresh.ServerIP);
    equal("second", "two.example", written.ServerIP);
    equal("third", "", create().ServerIP);
});

group("a name in another case", function () {
    fresh.SERVERIP = "upper.example";
    equal("read", "upper.example", fresh.serverip);
});

group("VersionInfo", function () {
    var module = new ActiveXObject("WScript.Shell")
        .RegRead("HKCR\\CLSID\\{A0C4B5E1-6D0B-4F43-9C37-5C1E2D7B8024}\\InprocServer32\\");
    var version = create().VersionInfo;
    check("four numbers: " + version, /^\d+\.\d+\.\d+\.\d+$/.test(version));
    equal("the file's", new ActiveXObject("Scripting.FileSystemObject").GetFileVersion(module), version);
});

group("a name that is none", function () {
    equal("read", "undefined", typeof fresh.NoSuchMember);
    refuses("write", DISP_E_UNKNOWNNAME, function () { fresh.NoSuchMember = 1; });
    refuses("call", NO_SUCH_METHOD, function () { fresh.NoSuchMember(); });
});

finish();
