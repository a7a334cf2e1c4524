// What the JScript tests share; run.sh puts it in front of each. The script host knows no more than ECMAScript 3, has no
// include, and ends without a word, with exit code 0, when an error is not caught: so every test runs inside group(), and
// finish() writes the line without which a test has failed.

var PROGID = "NORIXSDK.NorixSDKCtrl.1";

// HRESULTs as the script sees them, signed.
var E_INVALIDARG = 0x80070057 | 0;
var E_POINTER = 0x80004003 | 0;
var E_FAIL = 0x80004005 | 0;

var checks = 0;
var failures = 0;
var groupName = "";

function show(value) {
    if (typeof value !== "string") return typeof value === "number" && value < -65536
        ? "0x" + (value + 4294967296).toString(16) : String(value);
    return value.length > 80 ? value.length + " characters" : "'" + value + "'";
}

function fail(text) {
    ++failures;
    WScript.Echo("FAIL " + groupName + ": " + text);
}

function check(what, holds) {
    ++checks;
    if (!holds) fail(what);
}

// Same type and same value.
function equal(what, expected, actual) {
    check(what + ": " + show(actual) + " instead of " + show(expected),
          typeof expected === typeof actual && expected === actual);
}

var files = new ActiveXObject("Scripting.FileSystemObject");

// A file of the project.
function read(path) {
    return files.OpenTextFile(WScript.Arguments(0) + path).ReadAll();
}

// Calls `action` with the groups of each match.
function forEachMatch(pattern, text, action) {
    var match;
    var found = 0;
    while ((match = pattern.exec(text)) !== null) {
        ++found;
        action(match);
    }
    check("matches of " + pattern, found > 0);
}

function create() {
    return new ActiveXObject(PROGID);
}

// A test; what it throws fails it, and the next one goes on.
function group(name, test) {
    groupName = name;
    try {
        test();
    } catch (error) {
        ++checks;
        fail("stopped by " + show(error.number) + " " + error.message);
    }
}

function finish() {
    WScript.Echo("DONE " + checks + " checks, " + failures + " failures");
    WScript.Quit(failures > 0 ? 1 : 0);
}
