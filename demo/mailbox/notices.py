"""Mail that machines write: receipts, parcels, banks and those who pose as banks, builds, digests, invitations."""

import datetime
import html

from demo.mailbox import documents, mime, pictures
from demo.mailbox.people import EZE, INES, MARA, OLE, PIKE, SAOIRSE, THEO, TOBIAS, Person

_SANS = "font-family:'Helvetica Neue',Arial,'Liberation Sans',sans-serif"


def add(post):
    _receipts(post)
    _parcels(post)
    _bank(post)
    _phishing(post)
    _junk(post)
    _builds(post)
    _digests(post)
    _invitations(post)


def _card(colour, title, rows, note, button=None):
    """The look that shops and banks share: a coloured head, a table of figures, a button."""
    lines = "\n".join(
        f'<tr><td style="padding:10px 0;border-bottom:1px solid #eceaf0;{_SANS};font-size:14px;color:#5c5766">{html.escape(label)}</td>'
        f'<td align="right" style="padding:10px 0;border-bottom:1px solid #eceaf0;{_SANS};font-size:14px;color:#1e1b26;font-weight:bold">'
        f'{html.escape(value)}</td></tr>' for label, value in rows)
    link = "" if button is None else (
        f'<p style="margin:24px 0 6px"><a href="{html.escape(button[1])}" style="background-color:{colour};color:#ffffff;padding:12px 24px;'
        f'border-radius:8px;text-decoration:none;{_SANS};font-size:15px;font-weight:bold;display:inline-block">{html.escape(button[0])}</a></p>')
    return (f'<html><body style="background:#f4f3f7;margin:0"><table width="100%" cellpadding="0" cellspacing="0" bgcolor="#f4f3f7"><tr>'
            f'<td align="center" style="padding:24px 10px"><table width="560" cellpadding="0" cellspacing="0" bgcolor="#ffffff" '
            f'style="max-width:560px;border-radius:12px"><tr><td bgcolor="{colour}" style="padding:24px 32px;border-radius:12px 12px 0 0;{_SANS};'
            f'font-size:20px;line-height:26px;font-weight:bold;color:#ffffff">{html.escape(title)}</td></tr><tr><td style="padding:24px 32px 30px">'
            f'<table width="100%" cellpadding="0" cellspacing="0">{lines}</table>{link}<p style="margin:20px 0 0;{_SANS};font-size:13px;'
            f'line-height:20px;color:#77717f">{html.escape(note)}</p></td></tr></table></td></tr></table></body></html>')


def _plain_card(title, rows, note, button=None):
    width = max(len(label) for label, _ in rows) + 2
    lines = [title, ""] + [f"{label + ':':<{width}} {value}" for label, value in rows] + ["", mime.wrap(note)]
    return "\n".join(lines + ([f"\n{button[0]}: {button[1]}"] if button else []))


def _notice(post, category, sender, subject, age, colour, title, rows, note, button=None, files=(), **options):
    part = post.alternative(mime.text(_plain_card(title, rows, note, button)), mime.html(_card(colour, title, rows, note, button)))
    if files:
        part = post.multipart("mixed", part, *files)
    post.add(category, sender, subject, part, age, **options)


# Shops

def _receipts(post):
    ropes = Person("Rope & Shackle", "orders@rope-shackle.example")
    cafe = Person("Café Boje", "kasse@cafe-boje.example")
    rail = Person("Fernweh Rail", "tickets@fernweh-rail.example")
    paper = Person("Paper & Ink Supplies", "billing@paper-ink.example")
    cloud = Person("Shelfmark", "billing@shelfmark.example")
    rows = (
        (ropes, "Your order 88-10423", 3.6, "#19535f", "Thank you for your order", (("Sheet, 10 mm, 18 m", "€ 41.40"), ("Shackle, bow, 2 pcs.", "€ 13.80"),
         ("Shipping", "€ 4.90"), ("Total", "€ 60.10")), "Goes out tomorrow. You may return everything within 30 days, ropes uncut."),
        (cafe, "Ihr Kassenbon vom Samstag", 73, "#6f4e37", "Danke für Ihren Besuch", (("2 × Kaffee", "6,40 €"), ("1 × Zimtknoten", "2,10 €"), ("1 × Apfelschorle", "3,20 €"),
         ("Summe (bar)", "11,70 €")), "Dieser Beleg ersetzt den Papierbon. Bis bald am Hafen!"),
        (rail, "Ihre Fahrkarte: Nachtzug 21:40", 129, "#0b5fa5", "Gute Reise!", (("Zug", "NZ 408"), ("Abfahrt", "21:40, Gleis 7"), ("Abteil", "Wagen 12, Bett 34"),
         ("Preis", "89,00 €")), "Die Fahrkarte liegt als PDF bei. Bitte zeigen Sie sie im Zug vor."),
        (paper, "Invoice 40119", 178, "#37474f", "Invoice 40119", (("Card, 300 g, 500 sheets", "€ 74.00"), ("Ink, black, 2 bottles", "€ 38.60"), ("VAT 19%", "€ 21.39"),
         ("Total", "€ 133.99")), "Payable within 30 days."),
        (cloud, "Receipt for November", 205, "#4527a0", "Shelfmark Catalogue, monthly plan", (("Plan “Town”", "€ 49.00"), ("Records", "412,306"), ("Paid by", "direct debit")),
         "You are receiving this because you are a billing contact."),
        (ropes, "Your order 88-09871", 1400, "#19535f", "Thank you for your order", (("Varnish, 1 l, 7 tins", "€ 139.30"), ("Brush", "€ 8.20"), ("Total", "€ 147.50")), "Seven tins! We wish you patience."),
        (paper, "Invoice 39022", 2250, "#37474f", "Invoice 39022", (("Lettering, brass", "€ 218.40"), ("Total", "€ 218.40")), "Payable within 30 days."),
    )
    for sender, subject, age, colour, title, lines, note in rows:
        files = ()
        if sender in (rail, paper):
            files = (mime.attachment("Fahrkarte.pdf" if sender == rail else subject.lower().replace(" ", "-") + ".pdf",
                                     documents.pdf(title, [f"{label}: {value}" for label, value in lines]), "application/pdf"),)
        _notice(post, "receipt", sender, subject, age, colour, title, lines, note,
                ("View order", f"https://www.{sender.domain}/orders/{len(subject)}{age:.0f}?utm_source=receipt&utm_medium=email"), files,
                folder="Archive" if age > 1000 else "INBOX")


def _parcels(post):
    otter = Person("Otter Parcel", "tracking@otter-parcel.example")
    swift = Person("Swiftwing Post", "noreply@swiftwing.example")
    steps = (
        (otter, "Your parcel is on its way", 2.9, "On its way", "Expected tomorrow, 10 to 12"),
        (otter, "Your parcel has been announced", 14, "Announced by the sender", "Expected in two days"),
        (swift, "Delivered: left with your neighbour (the one with the dog)", 31, "Delivered", "Signed for by B. Osun"),
        (swift, "Out for delivery today", 35, "In the van", "Expected today, 9 to 13"),
        (swift, "We missed you", 55, "Could not be delivered", "Next attempt tomorrow"),
        (otter, "Delivered to your parcel locker", 101, "In locker 14", "Code 4 7 1 1 9"),
        (otter, "Delay: fog in the harbour", 122, "Waiting on the island", "Expected when the fog lifts"),
        (swift, "Return received", 192, "Back at the sender", "Refund within five days"),
    )
    for number, (sender, subject, age, state, expected) in enumerate(steps):
        identity = f"{sender.name[:2].upper()}{number + 3:02d} {post.random.randrange(10**9, 10**10)} LH"
        _notice(post, "shipping", sender, subject, age, "#e07a1f" if sender == otter else "#27548a", subject,
                (("Consignment", identity), ("State", state), ("When", expected), ("To", "Mara Jansen, Harbour Street 9")),
                "You can change place and time of the delivery until midnight of the day before.",
                ("Follow the parcel", f"https://www.{sender.domain}/t/{identity.replace(' ', '')}?trk=mail&s_cid={number}"))


def _bank(post):
    bank = Person("Larkhaven Savings Bank", "alerts@larkhaven-savings.example")
    for subject, age, rows in (
            ("Card payment of € 60.10", 3.5, (("Payee", "Rope & Shackle"), ("Card", "ends in 4417"), ("Amount", "€ 60.10"))),
            ("Incoming payment of € 2,640.00", 68, (("From", "Town of Larkhaven"), ("Reference", "salary"), ("Amount", "€ 2,640.00"))),
            ("Sign-in from a new device", 90, (("Device", "Tablet, Café Boje"), ("Place", "Larkhaven"), ("Time", "11:42"))),
            ("Your statement is ready", 224, (("Account", "…8830"), ("Period", "last month"), ("Documents", "1"))),
            ("Standing order carried out", 268, (("To", "Saltmarsh Sailing Club"), ("Amount", "€ 14.00"), ("Next", "in one month")))):
        _notice(post, "bank", bank, subject, age, "#14532d", subject, rows,
                "We never ask for a password or a code by mail. This message has no link on purpose: please type our address yourself.")


# Those who pretend

def _phishing(post):
    """Each one lies in another way, and each lie can be seen by a reader who is shown where a link goes."""
    traps = (
        ("Larkhaven Savings Bank", "security@larkhaven-savings.account-check.example", "Your account has been limited", 4.4, "INBOX",
         "larkhaven-savings.example/login", "https://larkhaven-savings.example.account-check.test/login?s=1"),
        ("Otter Parcel", "service@otterparcel-fee.example", "Customs fee of € 1.99 outstanding", 24, "INBOX",
         "https://www.otter-parcel.example/pay", "http://198.51.100.23/otter/pay.php?id=4471"),
        ("Shelfmark", "billing@xn--shelfmrk-5za.example", "Payment failed: update your card", 52, "INBOX",
         "https://www.shelfmark.example/billing", "https://www.xn--shelfmrk-5za.example/billing"),
        ("Town of Larkhaven", "tax@larkhaven-town.example", "Refund of € 382.14 approved", 87, "INBOX",
         "https://council.example/refund", "https://council.example@203.0.113.77/refund"),
        ("Mail quota service", "admin@larkhaven.example", "Your mailbox is 98% full", 150, "Junk",
         "https://webmail.larkhaven.example", "https://bit.invalid/3xQ"),
        ("Ines Okafor", "ines.okafor.head@example.com", "Are you at your desk?", 13, "INBOX", "", ""),
        ("Fernweh Rail", "gewinn@fernweh-raiI.example", "Sie haben gewonnen: 1. Klasse, ein Jahr", 210, "Junk",
         "www.fernweh-rail.example/gewinn", "https://fernweh-raii.example/gewinn?utm_source=x"),
        ("Harbour Office", "office@harbour-larkhaven.example.test", "Unpaid berth: final reminder", 330, "Junk",
         "https://harbour-larkhaven.example/pay", "//harbour-larkhaven.example.test/pay"),
    )
    for name, address, subject, age, folder, shown, target in traps:
        sender = Person(name, address)
        if not target:
            post.add("phishing", sender, subject, mime.flowed(
                "Hi Mara,\n\nI am in a meeting and can't talk. I need five gift cards of 100 each for the readers' prize, today. Please buy them, "
                "scratch them and send me the codes here. You will have it back on Monday.\n\nInes\n\nSent from my telephone"), age, folder=folder)
            continue
        rows = (("Reference", f"LH-{post.random.randrange(10**6, 10**7)}"), ("Deadline", "24 hours"), ("Status", "ACTION REQUIRED"))
        page = _card("#b3261e", subject, rows, "If you do not confirm within 24 hours your access will be closed for good.", (shown, target))
        post.add("phishing", sender, subject, post.alternative(mime.text(f"Please confirm at {shown} within 24 hours."), mime.html(page)), age, folder=folder)
    spoof = mime.html('<p>Dear customer,</p><p>enter your password to read the secured document:</p><form action="https://collect.example/in.php" '
                      'method="post"><input name="user" value="mara@larkhaven.example"><input name="pass" type="password">'
                      '<input type="submit" value="Open document"></form>')
    post.add("phishing", Person("Secured Documents", "doc@secured-doc.example"), "Document “salary_2024.pdf” shared with you", spoof, 60)


def _junk(post):
    rows = (
        ("Dr. Felix Goldmann", "goldmann@inheritance.example", "Inheritance of your late relative (12.4 million)", 41,
         "Dear beloved,\n\nI am the lawyer of an engineer who bore your name and died without children but with a great many ships."),
        ("VitaMax Ultra", "deal@vitamax.example", "L0se 20 kg without m0ving!!!", 66, "C l i c k here and never be hungry again. 100% natural. Doctors hate it."),
        ("SEO Team", "rank@first-page.example", "Your website has 41 errors", 91, "Hi there, I was looking at your website and noticed that it is not on page one. I can put it there for 99 a month."),
        ("Lottery Commission", "win@lotto.example", "TICKET 44-81-2 HAS WON", 133, "You have not played and you have won nevertheless. Send a copy of your passport and of somebody else's."),
        ("Crypto Otter", "moon@crypto-otter.example", "Only today: double your coins", 166, "Send one, get two. It is mathematics."),
        ("Partner Search", "hello@hearts.example", "Svetlana (29) has looked at your profile", 188, "She likes sailing, libraries and people whose address was in a list."),
        ("Roofing Brothers", "offer@roofing.example", "We happened to be in your street", 222, "Good day, we have seen that your roof has a damage which cannot be seen from below."),
        ("Printer Ink Outlet", "ink@ink-outlet.example", "Cartridges -80% -80% -80%", 255, "No. of your printer, please? Any printer. All printers."),
    )
    for name, address, subject, age, words in rows:
        post.add("junk", Person(name, address), subject, mime.text(mime.wrapped(words)), age, folder="Junk", extra=(("X-Spam-Flag", "YES"),))


# Machines that build

def _builds(post):
    server = Person("Shelfmark CI", "ci@shelfmark.example")
    backup = Person("backup@shelf01", "root@shelf01.larkhaven.example")
    for number in range(12):
        failed = number in (2, 3, 8)
        branch = ("main", "fold-accents", "kiosk-light", "main")[number % 4]
        build = 1841 - number
        commit = f"{post.random.getrandbits(28):07x}"
        subject = f"[shelfmark/catalogue] {'FAILED' if failed else 'fixed' if number in (1, 7) else 'passed'}: {branch} #{build}"
        log = "\n".join(["Running 412 tests on 4 workers", "..." * 20] + (
            [f"FAIL search_test.cpp:{120 + number}: expected 'Straße' to match 'strasse'", "  actual: 0 results", "1 of 412 failed"] if failed
            else ["412 of 412 passed"]) + [f"Finished in {40 + number * 3 % 17} s"])
        plain = mime.text(f"Build #{build} of {branch} ({commit}) {'failed' if failed else 'passed'}.\n\n{log}\n\nhttps://ci.shelfmark.example/builds/{build}\n")
        rich = mime.html(f'<div style="{_SANS};font-size:14px"><p><span style="background:{"#c42b3c" if failed else "#2e7d32"};color:#fff;padding:3px 10px;'
                         f'border-radius:10px">{"failed" if failed else "passed"}</span> &nbsp;<b>{branch}</b> <code>{commit}</code></p>'
                         f'<pre style="background:#f4f3f7;padding:12px;border-radius:8px">{html.escape(log)}</pre>'
                         f'<p><a href="https://ci.shelfmark.example/builds/{build}">Open build #{build}</a></p></div>')
        post.add("build", server, subject, post.alternative(plain, rich), 0.45 + number * 14.3,
                 extra=(("Auto-Submitted", "auto-generated"), ("X-Build", str(build))), folder="INBOX" if number < 11 else "Trash")
    for number in range(4):
        post.add("build", backup, f"Cron <root@shelf01> nightly-backup {'[WARN]' if number == 2 else '[OK]'}", mime.text(
            f"backed up 3 volumes, {18204 + number * 11} MB, in {311 + number} s\n" + ("warning: 1 file changed as we read it\n" if number == 2 else "")),
            7 + number * 24, extra=(("Auto-Submitted", "auto-generated"), ("Precedence", "bulk")))


# Mailing list

def _digests(post):
    binders = Person("Bookbinders' list", "binders-request@lists.example.org")
    topics = (
        (("Wheat paste or methyl cellulose?", "Hanneke", "Paste for paper, cellulose for my nerves. It keeps for months and the mice do not care for it."),
         ("Re: Wheat paste or methyl cellulose?", "Rui", "The mice here are less choosy."), ("Sewing on cords", "Agnes", "Five cords for anything above 4 cm. The folios of Larkhaven have seven.")),
        (("Red rot", "Pierre", "Do not brush. Consolidate first, then breathe."), ("Re: Red rot", "Agnes", "And wear an apron you dislike.")),
        (("Guillotine for sale", "Rui", "Cast iron, 1923, 400 kg. You would have to fetch it. I will help, once."), ("Re: Guillotine for sale", "Hanneke", "Which floor?"),
         ("Re: Guillotine for sale", "Rui", "The third.")),
        (("Marbling with children", "Ilse", "Twelve children, nine colours, one ceiling. Ask me how to get it off."), ("Headbands", "Pierre", "Silk. Always silk. Do not write to me about cotton.")),
        (("Birch plywood boards for folios?", "Mara Jansen", "We are building shelves, not bindings, but you know wood. Does birch ply off-gas?"),
         ("Re: Birch plywood boards for folios?", "Agnes", "Oil it, let it air for three weeks, and put a sheet of alkaline paper behind the books.")),
    )
    for number, entries in enumerate(topics):
        issue = 418 - number
        contents = "\n".join(f"   {index}. {subject} ({author})" for index, (subject, author, _) in enumerate(entries, 1))
        masthead = mime.text(f"Send Bookbinders mailing list submissions to\n\tbinders@lists.example.org\n\nToday's Topics:\n\n{contents}\n")
        parts = [mime.Part([], mime.header_block([("From", f"{author} <{author.split()[0].lower()}@example.org>"), ("Subject", subject),
                                                  ("Message-ID", f"<digest.{issue}.{index}@lists.example.org>"), ("Content-Type", "text/plain; charset=us-ascii")])
                           + b"\n" + mime.wrap(words).encode() + b"\n") for index, (subject, author, words) in enumerate(entries)]
        footer = mime.text("_______________________________________________\nBookbinders mailing list\nhttps://lists.example.org/binders\n")
        post.add("digest", binders, f"Bookbinders Digest, Vol 31, Issue {issue}",
                 post.multipart("mixed", masthead, post.multipart("digest", *parts), footer), 15 + number * 52,
                 extra=(("List-Id", "Bookbinders <binders.lists.example.org>"), ("List-Post", "<mailto:binders@lists.example.org>"), ("Precedence", "list")),
                 folder="INBOX" if number < 3 else "Lists/Bookbinders")
    singles = (("Linen thread, which weight?", "Hanneke Vos", "18/3 for the folios, 30/3 for everything that is held in one hand."),
               ("Re: Linen thread, which weight?", "Rui Lopes", "I use what my grandmother left, and nobody has been able to break it yet."),
               ("[OT] A letter of 1903", "Mara Jansen", "Our archive has found a letter that asks for a lamp. It is sewn, not stapled."),
               ("Meeting in spring", "Agnes Wolff", "Proposal: two days, one workshop, many sandwiches. In Larkhaven, because of the ferry."),
               ("Re: Meeting in spring", "Pierre Lang", "I come if nobody mentions cotton."))
    for number, (subject, author, words) in enumerate(singles):
        sender = MARA if author == MARA.name else Person(author, f"{author.split()[0].lower()}@example.org")
        post.add("list", sender, f"[binders] {subject}", mime.text(mime.wrapped(words) + "\n\n_______________\nBookbinders mailing list\n"), 60 + number * 31,
                 folder="Lists" if subject.endswith("Meeting in spring") else "Lists/Bookbinders", to=(Person("Bookbinders", "binders@lists.example.org"),), flags="S" if sender == MARA else None,
                 extra=(("List-Id", "Bookbinders <binders.lists.example.org>"), ("List-Post", "<mailto:binders@lists.example.org>")))


# Diaries

def _invitations(post):
    base = post.now.replace(minute=0, second=0, microsecond=0)
    rows = (
        (INES, "Invitation: Team meeting", 10, 3, 10, "Team meeting", "Small office, first floor", "Agenda: opening hours, shelves, the coffee machine.", "REQUEST", "FREQ=WEEKLY;COUNT=8"),
        (PIKE, "Einladung: Abnahme Lesesaal", 36, 12, 14, "Abnahme Lesesaal", "Bücherei, Lesesaal", "Bitte pünktlich; es gibt Brezeln.", "REQUEST", None),
        (TOBIAS, "Invitation: Boats out of the water", 94, 9, 7, "Boats out of the water", "Slipway", "Bring gloves, ropes and somebody strong.", "REQUEST", None),
        (EZE, "Updated invitation: Opening of the exhibition", 128, 20, 18, "Opening: Letters of 1903", "Town archive", "Now at six instead of five.", "REQUEST", None),
        (SAOIRSE, "Cancelled: Radio practice", 145, 2, 17, "Radio practice", "Club house", "The radio is at the repair shop.", "CANCEL", None),
        (OLE, "Accepted: Team meeting", 8, 3, 10, "Team meeting", "Small office, first floor", "", "REPLY", None),
    )
    for sender, subject, age, days, hour, summary, place, text, method, rule in rows:
        start = base.replace(hour=hour) + datetime.timedelta(days=days)
        end = start + datetime.timedelta(hours=1, minutes=30)
        event = documents.calendar(method, f"{summary.lower().replace(' ', '-')}@{sender.domain}", start, end, summary, place, sender, (MARA, THEO), text,
                                   1 if subject.startswith(("Updated", "Cancelled")) else 0, rule)
        words = f"{summary}\n\nWhen:  {start:%A, %d %B %Y, %H:%M} to {end:%H:%M} (UTC)\nWhere: {place}\n\n{text}"
        calendar = mime.text(event.replace("\r\n", "\n"), subtype="calendar", encoding="base64", parameters=f"; method={method}")
        rich = mime.html(f'<div style="{_SANS};font-size:15px;border-left:4px solid #6a45d8;padding:4px 16px"><h2 style="margin:0 0 8px">{html.escape(summary)}</h2>'
                         f'<p>{start:%A, %d %B %Y, %H:%M} to {end:%H:%M} (UTC)<br>{html.escape(place)}</p><p>{html.escape(text)}</p></div>')
        body = post.multipart("alternative", mime.text(words), rich, calendar)
        if method != "REPLY":
            body = post.multipart("mixed", body, mime.attachment("invite.ics", event.encode(), "application/ics"))
        post.add("invitation", sender, subject, body, age)
    poster = mime.inline_image("poster.png", pictures.logo("#6a45d8", "book"), post.content_id("poster"))
    post.add("invitation", INES, "Save the date: reading night", post.multipart("mixed", mime.flowed(
        "Last Friday of the month, seven in the evening, all floors. There will be a braid in the shape of a book."), poster), 172)
