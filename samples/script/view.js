// Uses the control from the command line, without a window to look at:
//
//     cscript //nologo view.js              says what the control is and how it is set up
//     cscript //nologo view.js 192.0.2.10   connects to that camera as well
//
// User name and password come from the environment (NORIX_USER, NORIX_PASSWORD), not from the command line, where other
// users of the machine could read them. On 64-bit Windows this takes the 32-bit script host in SysWOW64.

var STATUS = ["connecting", "connected", "disconnected", "connection failed", "multicast conflict",
              "user name or password rejected"];
var SHOWN = ["ServerIP", "HttpPort", "CHIndex", "StreamIndex", "VideoProtocol", "MediaType", "ConnectionTimeout",
             "AutoReconnect", "CaptionInfo", "RecordVideoPath", "RecordMaxFileTimeLength"];
var WAIT_MS = 10000;

// Errors of a control are exceptions whose number is the HRESULT.
function describe(error) {
    return "0x" + (error.number >>> 0).toString(16) + " " + (error.description || error.message || "");
}

function createCamera() {
    try {
        return new ActiveXObject("NORIXSDK.NorixSDKCtrl.1");
    } catch (error) {
        WScript.Echo("The control is not registered for 32-bit programs: " + describe(error));
        WScript.Quit(2);
    }
}

function showProperties(camera) {
    for (var i = 0; i < SHOWN.length; ++i) WScript.Echo("  " + SHOWN[i] + " = " + camera[SHOWN[i]]);
}

// Values out of range are brought into it, values of the wrong type and read-only properties are refused.
function showErrors(camera) {
    camera.ConnectionTimeout = 5;
    WScript.Echo("ConnectionTimeout = 5 is stored as " + camera.ConnectionTimeout);
    try {
        camera.HttpPort = "eighty";
    } catch (error) {
        WScript.Echo("HttpPort = \"eighty\" is refused: " + describe(error));
    }
    try {
        camera.ConnectStatus = 1;
    } catch (error) {
        WScript.Echo("ConnectStatus = 1 is refused: " + describe(error));
    }
}

// Events, where the script host delivers them.
function camera_OnConnStatus(status) {
    WScript.Echo("OnConnStatus: " + STATUS[status]);
}

function connect(camera, server) {
    var environment = new ActiveXObject("WScript.Shell").Environment("PROCESS");
    camera.ServerIP = server;
    camera.username = environment("NORIX_USER");
    camera.password = environment("NORIX_PASSWORD");
    try {
        WScript.ConnectObject(camera, "camera_");
    } catch (error) {
        WScript.Echo("This script host delivers no events.");
    }
    if (camera.Connect() === 0) {
        // The outcome comes while the thread handles messages, which Sleep does.
        for (var waited = 0; waited < WAIT_MS && camera.ConnectStatus === 0; waited += 100) WScript.Sleep(100);
    }
    WScript.Echo(server + ": " + STATUS[camera.ConnectStatus]);
    var connected = camera.ConnectStatus === 1;
    camera.Disconnect();
    return connected;
}

function main() {
    var camera = createCamera();
    WScript.Echo("NorixSDK " + camera.VersionInfo);
    showProperties(camera);
    showErrors(camera);
    if (WScript.Arguments.length > 0 && !connect(camera, WScript.Arguments(0))) return 1;
    return 0;
}

// A script host may end without a word on an error that nobody catches.
var code;
try {
    code = main();
} catch (error) {
    WScript.Echo("Stopped: " + describe(error));
    code = 3;
}
WScript.Quit(code);
