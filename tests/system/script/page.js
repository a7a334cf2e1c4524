// The sample page, without a browser: its script runs on a stand-in for the document and on the real control. What a
// reader copies from the page has to exist and to be spelled as the control spells it.

var page, library, control;
group("reading", function () {
    page = read("\\samples\\page\\index.html");
    library = read("\\control\\NorixSDK.idl");
    control = create();
});

// ---- The stand-in: elements by id, made when they are asked for

var elements = { camera: null };
var lines = [];

function Element(text) {
    this.value = "";
    this.firstChild = { nodeValue: text };
}
Element.prototype.appendChild = function (child) { if (child.text) lines.push(child.text); };
Element.prototype.getElementsByTagName = function () {
    var found = [];
    forEachMatch(/<button type="button">(\w+)<\/button>/g, page, function (match) { found.push(new Element(match[1])); });
    elements.directionButtons = found;
    return found;
};

var document = {
    getElementById: function (id) {
        if (id === "camera") return control;
        check("an element with the id " + id, page.indexOf("id=\"" + id + "\"") > 0);
        if (!elements[id]) elements[id] = new Element("");
        return elements[id];
    },
    createElement: function () {
        return { appendChild: function (child) { this.text = child.text; } };
    },
    createTextNode: function (text) { return { text: text }; }
};
var window = {};

function lastLine() {
    return lines.length > 0 ? lines[lines.length - 1] : "";
}

// ---- The page

group("parameters", function () {
    forEachMatch(/<param name="(\w+)" value="(.*?)">/g, page, function (match) {
        equal("type of " + match[1], true, typeof control[match[1]] !== "undefined");
        control[match[1]] = match[2];
        check("no password in the page", match[1] !== "password");
    });
    equal("VideoProtocol", 2, control.VideoProtocol);
});

// Evaluated here and not in a function, so that its functions are there for the handlers below.
var script = /<script type="text\/javascript">([\s\S]*?)<\/script>/.exec(page);
eval(script[1]);

group("start", function () {
    control.ServerIP = "192.0.2.1";
    window.onload();
    equal("version", "NorixSDK " + control.VersionInfo, lines[0]);
    equal("server in the form", "192.0.2.1", field("server").value);
    equal("port in the form", 80, field("port").value);
});

group("connecting", function () {
    field("server").value = "127.0.0.1";
    field("port").value = "9";  // where nothing listens
    field("user").value = "operator";
    field("secret").value = "secret";
    connect();
    equal("ServerIP", "127.0.0.1", control.ServerIP);
    equal("username", "operator", control.username);
    equal("reported", "Connect returned 0", lastLine());
    field("port").value = "eighty";
    connect();
    check("a bad port is reported: " + lastLine(), lastLine().indexOf("Not accepted") === 0);
    check("no password in the log", lines.join().indexOf("secret") < 0);
});

group("buttons", function () {
    forEachMatch(/onclick="([^"]*)"/g, page, function (match) { eval(match[1]); });
    equal("muted", true, control.VoiceMute);
    check("folder of recordings", /\\$/.test(control.RecordVideoPath));
    for (var i = 0; i < elements.directionButtons.length; ++i) {
        elements.directionButtons[i].onmousedown();
        elements.directionButtons[i].onmouseup();
        elements.directionButtons[i].onmouseout();
    }
    report("Code", E_POINTER);
    equal("an error code in the log", "Code returned 0x80004003", lastLine());
});

group("events", function () {
    var pattern = /<script for="camera" event="(\w+)\((.*?)\)" type="text\/javascript">(.*?)<\/script>/g;
    forEachMatch(pattern, page, function (match) {
        var declared = new RegExp("void " + match[1] + "\\((.*?)\\);").exec(library);
        check(match[1] + " is an event of the control", declared !== null);
        var names = match[2].split(",");
        equal("parameters of " + match[1], declared[1].split("[in").length - 1, names.length);
        var before = lines.length;
        field("rate").innerHTML = "";
        eval("(function (" + match[2] + ") {" + match[3] + "})(2, 3, 4)");
        check(match[1] + " shows something", lines.length > before || field("rate").innerHTML !== "");
    });
});

group("leaving", function () {
    window.onunload();
    equal("state", 2, control.ConnectStatus);
});

finish();
