// The scripts of docs/tasks.md with the control, without a camera: what they write and call is accepted, and their handlers
// take what the events bring. The script host of the tests has neither events nor Sleep: both are replaced, the rest stays.

var page, library, blocks = [], waits = 0, prefixes = [];
group("reading", function () {
    page = read("\\docs\\tasks.md").replace(/\r/g, "");
    library = read("\\control\\NorixSDK.idl");
    forEachMatch(/\n```js\n([\s\S]*?)\n```\n/g, page, function (match) { blocks.push(match[1]); });
    check("scripts in the page", blocks.length >= 8);
});

function replaced(text, part, by) {
    check("the page has " + part, text.indexOf(part) >= 0);
    return text.replace(part, by);
}

var begin = blocks.shift();
group("what all begin with", function () {
    begin = replaced(begin, "192.0.2.10", "127.0.0.1");
    begin = replaced(begin, "WScript.ConnectObject(made, prefix)", "prefixes.push(prefix)");
    begin = replaced(begin, "for (;;) WScript.Sleep(50)", "++waits");
});
eval(begin);
camera.HttpPort = 9;  // where nothing listens

for (var task = 0; task < blocks.length; ++task) {
    var above = page.substr(0, page.indexOf(blocks[task]));
    var title = above.substr(above.lastIndexOf("\n## ") + 4).split("\n")[0];
    var before = waits, error = "";
    prefixes.length = 1;
    try {
        eval(blocks[task].replace(/WScript\.Sleep\(\d+\);/g, ""));
    } catch (thrown) {
        error = thrown.description || thrown.message;
    }
    group(title, function () {
        equal("error", "", error);
        equal("waits for events", before + 1, waits);
        var handlers = 0;
        forEachMatch(/function (\w+?_)(On\w+)\((.*?)\)/g, blocks[task], function (match) {
            ++handlers;
            check(match[1] + " is connected", (" " + prefixes.join(" ") + " ").indexOf(" " + match[1] + " ") >= 0);
            var declared = new RegExp("void " + match[2] + "\\((.*?)\\);").exec(library);
            check(match[2] + " is an event of the control", declared !== null);
            equal("parameters of " + match[2], declared[1].split("[in").length - 1, match[3].split(",").length);
            var handler = eval(match[1] + match[2]);
            handler(1, 2);
            handler(2, 2);
        });
        check("has a handler", handlers > 0);
        camera.Disconnect();
    });
}

finish();
