"""Letters of one person to another: plain, with pictures, with files, forwarded, unsent."""

from demo.mailbox import documents, mime, pictures
from demo.mailbox.people import (ACHTERBERG, CLEO, ELIN, EZE, FARID, FREYA, FRONT_DESK, HARBOUR, IMRAN, INES, MARA, MATEO, NILS,
                                 NURSE, OLE, PETRA, PIKE, SAOIRSE, THEO, TOBIAS, WEISS, WILMA, Person)

# Each row: sender, subject, hours ago, text.
INBOX = (
    (THEO, "The projector is back", 0.07, "It came back from repair with a note that says “was full of sand”. Do you know anything about sand?\n\n"
     "It works. I have put it into the cupboard behind the maps, second shelf, where the sand can't get at it."),
    (ELIN, "Sunday", 1.4, "Dear Mara,\n\nare you coming on Sunday? Your father wants to know because of the potatoes. Nils is bringing somebody and will "
     "not say whom.\n\nBring a jumper, the stove is being swept and we eat in the hall.\n\nMum"),
    (FREYA, "That book about knots", 3.1, "Do you still have it? The one with the blue cover and the terrible drawings. I need page 40-something, the hitch "
     "that holds on a wet rope. A photo of the page would do."),
    (OLE, "Heating, first floor", 6, "The thermostat in the small office shows 27 degrees and means it. I have opened the window and called the man. "
     "He says Wednesday. He also said Wednesday in March."),
    (SAOIRSE, "Keys to the boat shed", 9, "Found two keys in my oilskin, one with a cork and one without. The cork is yours, I think. The other one opens "
     "nothing I own.\n\nI am on the jetty until six."),
    (IMRAN, "Re: Chess on Tuesdays", 22, "> shall we say seven?\n\nSeven is good. I have found a clock that ticks so loudly that nobody will fall asleep, "
     "including the neighbours.\n\nImran"),
    (FRONT_DESK, "Lost property: one violin", 26, "A violin was left under the table in the music corner, in its case, with a bow and half a sandwich. The sandwich "
     "has been dealt with. The violin is in the safe."),
    (WILMA, "Who is the gentleman with the parrot?", 29, "He comes every day at ten and reads the paper aloud. To the parrot. I have nothing against it, but "
     "the parrot has started to answer."),
    (MATEO, "Photos of the mast step", 33, "I took the mast out and it is as we feared: the step is soft on the port side, about a hand's breadth. I can cut it out "
     "and scarf in a new piece, but I would need a dry week and somebody who holds the other end."),
    (NURSE, "Your appointment on Thursday", 38, "Dear Ms Jansen,\n\nthis is to remind you of your appointment on Thursday at 8:20. Please come fasting; you may drink water.\n\n"
     "If you can't come, please call us a day before."),
    (NILS, "not a word to mum", 44, "about the dog. I will tell her myself on sunday. its name is Bosun and it is house trained in the sense that it has been in a house."),
    (PETRA, "Flour", 50, "Dear Mara, the mill sends the new spelt on Friday and I have ordered one sack more than fits. Do you want five kilos? "
     "You will have to fetch them before the children build something from them."),
    (CLEO, "Lecture d’automne", 56, "Chère Mara,\n\nj’ai bien reçu ton programme, il est magnifique. Je prends volontiers la soirée du 14, avec les lettres "
     "de mon arrière-grand-mère ; prévois un quart d’heure de plus, elle écrivait long.\n\nÀ bientôt,\nCléo"),
    (HARBOUR, "Berth 17: electricity", 62, "Dear berth holder,\n\nthe socket at berth 17 will be replaced on Monday between 9 and 11. Please unplug battery chargers before. "
     "The water tap is not affected.\n\nHarbour Office Larkhaven"),
    (THEO, "Duty roster: swap?", 70, "Could you take my Saturday? My cousin plays the drums at the harbour, and somebody has to carry the drums.\n\nI would take "
     "your next two Tuesdays, including the chess people."),
    (EZE, "A letter of 1903", 75, "Dear Mara,\n\nin box 41 I have found a letter of your predecessor of 1903, in which she asks the mayor for a lamp. She got it in 1911. "
     "I thought you would like a copy for the wall.\n\nWarmly,\nAdaeze"),
    (FARID, "Maintenance on Sunday, 5 to 7", 80, "The catalogue will be down on Sunday morning between five and seven for a database upgrade. Self-service "
     "lending keeps working and syncs afterwards.\n\nIf the light on the kiosk is orange, that is as it should be. Red is not."),
    (WEISS, "Muster / samples", 92, "Guten Tag Frau Jansen,\n\nthe two boards may stay with you. The oak one makes a good bread board, as a young man seems to have found out "
     "already.\n\nMit freundlichem Gruß\nJürgen Weiß"),
    (TOBIAS, "Winter storage", 98, "Dear sailors,\n\nthe hall opens on the 20th. Boats in by length, the short ones first. Masts on the left, names on everything, "
     "nothing that burns, and whoever brings the orange dinghy this year takes it out again in spring."),
    (PIKE, "Question about opening hours", 104, "Dear Ms Jansen,\n\nsome parents have asked whether the library could open at half past seven on school days. I promised to ask. "
     "I have not promised anything else."),
    (INES, "Your leave", 110, "Approved, of course. Kyoto in November, I am green. Please hand the programme over to Theo before, in writing, because he will otherwise invent one."),
    (FREYA, "Re: That book about knots", 116, "Page 47, it was. It holds. I owe you a rope."),
    (SAOIRSE, "Navigation course", 124, "Eight people have signed up, two of them because they thought it was about satnavs. I have not corrected them yet.\n\nCan we have the small room "
     "on six Wednesdays from January?"),
    (ACHTERBERG, "Third quarter: two receipts missing", 131, "Dear Ms Jansen,\n\nfor the third quarter I miss the receipt of the lettering (218.40) and the one called “glue, misc.” "
     "(31.15). A photograph is sufficient.\n\nB. Achterberg"),
    (MATEO, "Scarf joint", 140, "8:1 or 12:1? The book says 8, the old man at the slip says 12, and he has built forty boats and read no book."),
    (IMRAN, "Chess on Tuesdays", 150, "There are five of us now and the café closes at eight. Would the library have a table? We are quiet. One of us hums."),
    (ELIN, "Apples", 160, "There are so many this year. I have put two boxes in the hall for you, the left one is for eating, the right one for everything else.\n\nMum"),
    (OLE, "Inventory of ladders", 171, "We own seven ladders. We need three. The insurance counts eight. I am looking for the eighth."),
    (WILMA, "Re: Inventory of ladders", 173, "> I am looking for the eighth.\n\nIt is on the roof, Ole. You put it there."),
    (FRONT_DESK, "Complaint about the clock", 186, "A lady says that the clock in the hall is four minutes fast and that she has missed three buses. The clock is right. "
     "I have given her a timetable and a biscuit."),
    (CLEO, "Re: Lecture d’automne", 200, "Un détail : y a-t-il une lampe de bureau ? L’écriture est minuscule et mes yeux ne sont plus de 1903."),
    (THEO, "Reading list for the sixth form", 214, "Draft is in the shared folder. I have taken out two that nobody ever finished and put in one that everybody will, because it is 90 pages "
     "long and somebody drowns on page three."),
    (PETRA, "Sourdough evening", 230, "I would do it on a Thursday, eight people at most, everybody goes home with a jar. The jars must be brought. Last time I had none left "
     "for the jam and you heard about it."),
    (NURSE, "Your results", 243, "Dear Ms Jansen,\n\nyour results are here and nothing in them is urgent. Dr. Lund would like to talk about iron. Please call us between 10 and 12."),
    (NILS, "lawnmower", 250, "short version: I borrowed it, it is now in two parts, both work. long version on sunday."),
    (HARBOUR, "Closing of the slipway", 262, "The slipway is closed from the 3rd to the 7th for dredging. The crane may be used instead at the usual fee. Please do not feed the seal; "
     "it has become demanding."),
    (EZE, "Exhibition: captions", 275, "Dear Mara,\n\nthe captions are at 60 words each, which nobody will read standing. Shall we say 35? I volunteer to be cruel."),
    (INES, "Thank you", 290, "For last night, for the braid in the shape of a book, and for talking to the gentleman with the parrot. He has borrowed four novels, for two."),
)

ARCHIVE = (
    (THEO, "Handover: summer programme", 900, "Everything is in the blue folder, including the things that did not work. Those are on yellow paper."),
    (INES, "Minutes of the team meeting", 1010, "1. Opening hours stay. 2. The coffee machine goes. 3. A new coffee machine comes. 4. Nobody knows the code of the alarm, see me."),
    (ELIN, "Recipe for the fish soup", 1200, "You asked for it, so here it is, from your grandmother: as much fish as you can carry, half as many potatoes, one onion more than you think. "
     "Saffron only if somebody is watching."),
    (TOBIAS, "Statutes of the club, §7", 1310, "The vote was 41 to 3 with one abstention (the dog). Boats above nine metres now need two people on watch."),
    (SAOIRSE, "Radio licence", 1500, "Passed! All of us, even Nils, who called the examiner “skipper”."),
    (FARID, "Migration finished", 1720, "412,306 records moved, 12 need a human. I have put the twelve into a list; most of them are books that claim to be 3 metres high."),
    (WEISS, "Angebot Regale", 1850, "Sehr geehrte Frau Jansen,\n\nwie besprochen sende ich Ihnen die Maße: Nordwand 6,40 m, Ostwand 4,15 m, Westwand 4,10 m. Bitte messen Sie noch einmal nach, die Wände sind "
     "nicht gerade, und ich bin es auch nicht mehr."),
    (ACHTERBERG, "Annual accounts: finished", 2100, "Dear Ms Jansen,\n\nthe accounts are closed and balance to the cent. I would like to note that this has not happened since 2016."),
    (PIKE, "Grant for the reading room", 2350, "Dear all, the committee has said yes, unanimously, after a very short debate and a very long lunch."),
    (FREYA, "Postcard", 2600, "Not a postcard, they had none. It is raining on the island and there are 400 sheep. I have given names to eleven."),
    (IMRAN, "The match", 2800, "We drew. I should have taken the knight. I will think about that knight in my old age."),
    (OLE, "Alarm code", 3000, "I don't write it here. It is the number of ladders, four times."),
    (CLEO, "Merci", 3300, "Merci pour l’accueil, pour le train retrouvé et pour le parapluie, que j’ai encore."),
    (EZE, "Loan of the globe", 3700, "The globe may stay until Easter. Please keep children from stopping it with their noses."),
    (MATEO, "Varnish", 4100, "Seven coats. I know you said five."),
    (PETRA, "Christmas orders", 5200, "Last year you wrote to me on the 23rd. I say no more."),
    (WILMA, "The ghost in the stacks", 6100, "It was the ventilation. I am a little disappointed."),
)

# Each row: receiver, subject, hours ago, text.
SENT = (
    (ELIN, "Re: Sunday", 0.9, "Yes! I bring the jumper and five kilos of spelt flour, do not ask. Tell Dad: waxy ones."),
    (THEO, "Re: Duty roster: swap?", 66, "Deal. But the hummer among the chess people is yours."),
    (ACHTERBERG, "Re: Third quarter: two receipts missing", 120, "Dear Mr Achterberg,\n\nthe lettering is attached to the invoice of the sign maker (page 2). The glue was for the braid-shaped sign. "
     "I will find the receipt.\n\nMara Jansen"),
    (PIKE, "Re: Question about opening hours", 100, "Dear Ms Pike,\n\nhalf past seven works from Monday to Thursday if the school sends somebody who stays with the children until eight. Shall we try it for one term?"),
    (FREYA, "Re: That book about knots", 117, "Page 47. The drawing looks like an octopus in a bad mood, but the text is right."),
    (PETRA, "Sourdough evening?", 236, "Would you do your sourdough evening at the library? We have water, tables, and people who have wanted this for years."),
    (EZE, "Re: Exhibition: captions", 270, "Be cruel. 35 words."),
    (SAOIRSE, "Re: Navigation course", 122, "The small room is yours. I will tell the two about the satnavs, gently."),
    (IMRAN, "Re: Chess on Tuesdays", 148, "You can have the long table in the map room, shall we say seven? Humming is allowed below middle C."),
    (CLEO, "Programme d’automne", 320, "Chère Cléo,\n\nvoici le programme. Voudrais-tu le 14 ? La salle est petite, mais les gens écoutent."),
    (NILS, "Re: not a word to mum", 42, "My lips are sealed. She knows, though. She has bought a bowl."),
    (FARID, "Wishes for the catalogue", 420, "Here is the list of twenty queries that have annoyed people. Number 14 annoys only me."),
    (MATEO, "Re: Scarf joint", 138, "12:1. Always believe the man at the slip."),
    (INES, "Leave in November", 112, "I would like to take three weeks from the 4th. Theo would take the programme, if I may warn him first."),
    (WILMA, "Parrot", 28, "I talked to him. He is called Mr Abernathy; the parrot is called Duchess. They would like the large-print room."),
    (HARBOUR, "Berth 17", 60, "Thank you, the charger is unplugged. The lamp at the ladder is dark as well, perhaps the electrician could look at it."),
)

DRAFTS = (
    (Person("", "kurse@sportverein.example"), "Frage zum Kurs am Montag", 30, "Guten Tag,\n\nist im Montagskurs noch ein Platz frei, und kann man auch"),
    (PIKE, "Proposal: library on the beach", 74, "Dear Ms Pike,\n\nin July the town moves to the beach, and so should the books. What we would need:\n\n- a cart with two good wheels\n- a sunshade\n- "),
    (TOBIAS, "(no subject)", 190, "Tobias, about the orange dinghy:"),
    (ELIN, "Birthday", 400, "Dear Mum,\n\n"),
)

SOMMERFEST = (
    (PIKE, "Sommerfest: Ablaufplan", 30 * 24, "Liebe Alle,\n\n14 Uhr Eröffnung, 15 Uhr Kinderchor, 17 Uhr Lesung vor der Bücherei, 19 Uhr Schlagzeug (bitte nicht früher), 22 Uhr Ende, wirklich."),
    (PETRA, "Kuchen", 28 * 24, "Ich bringe acht Bleche. Die Kirschkuchen sind für die Musiker, die haben letztes Jahr nichts abbekommen und sind das Thema seither nicht losgeworden."),
    (OLE, "Strom", 27 * 24, "Zwei Verlängerungen reichen nicht, drei auch nicht. Ich habe jetzt fünf. Fragen Sie nicht, woher."),
)

PROJEKTE = (
    (INES, "Was zuerst?", 26 * 24, "Liebe Mara,\n\nSommerfest, Lesewand, Vorlesen am Telefon: Wir haben drei Projekte und anderthalb Leute. Ich schlage vor, wir fangen mit dem Kuchen an."),
)

RUDERCLUB = (
    (TOBIAS, "Boathouse keys", 410, "Whoever has the third key: the second one is in the canal. Please hang the first one back where it was, which is not your jacket."),
    (SAOIRSE, "Rowing on Sunday", 330, "Nine o'clock, the long boat. We are seven, and the boat wants eight. Bring somebody, or a bag of sand."),
)

IDEEN = (
    (THEO, "Idee: Nacht der Karten", 35 * 24, "Eine Nacht lang liegen alle alten Seekarten offen auf den Tischen, mit Handschuhen und Lupen. Wer eine Untiefe findet, die es nicht mehr gibt, bekommt eine Brezel."),
    (WILMA, "Idee: Vorlesen am Telefon", 33 * 24, "Für alle, die nicht mehr kommen können. Montags von vier bis fünf, eine Nummer, eine Stimme, ein Kapitel. Ich würde anfangen."),
    (OLE, "Idee: Werkzeug verleihen", 26 * 24, "Sieben Leitern, drei Bohrmaschinen, ein Akkuschrauber, den niemand zurückfordert. Eine Bücherei der Dinge."),
    (INES, "Re: Idee: Vorlesen am Telefon", 25 * 24, "> eine Nummer, eine Stimme, ein Kapitel\n\nJa. Unbedingt. Ich frage im Rat nach dem Anschluss."),
    (FREYA, "Entwurf: Plakat", 21 * 24, "Drei Fassungen, alle zu bunt, eine davon mit Absicht. Welche hängt ihr auf?"),
    (CLEO, "Une idée : lettres anonymes", 20 * 24, "Chacun écrit une lettre à un inconnu, la met dans un livre, et le livre repart. À la fin de l’année on lit celles qui sont revenues."),
)

TRASH = (
    (FRONT_DESK, "Printer on floor 1", 320, "The printer is out of toner again."),
    (FRONT_DESK, "Re: Printer on floor 1", 318, "The printer is out of paper now. The toner is fine."),
    (OLE, "Fire drill: done", 480, "2 minutes 40. Wilma brought the folios."),
    (THEO, "test", 510, "test, please ignore"),
    (NILS, "wrong address", 620, "that was meant for somebody else. forget the thing about the boat."),
    (HARBOUR, "Berth 17: water", 700, "The water is back."),
)


def add(post):
    for sender, subject, age, words in INBOX:
        _plain(post, "letter", sender, subject, age, words)
    for sender, subject, age, words in ARCHIVE:
        _plain(post, "letter", sender, subject, age, words, folder="Archive")
    for receiver, subject, age, words in SENT:
        _plain(post, "letter", MARA, subject, age, words, folder="Sent", to=(receiver,), flags="S")
    for receiver, subject, age, words in DRAFTS:
        _plain(post, "letter", MARA, subject, age, words, folder="Drafts", to=(receiver,), flags="DS")
    for folder, rows in (("Projekte", PROJEKTE), ("Projekte/Sommerfest", SOMMERFEST), ("Projekte/Entwürfe & Ideen", IDEEN),
                         ("Vereine/Ruderclub", RUDERCLUB), ("Trash", TRASH)):
        for sender, subject, age, words in rows:
            _plain(post, "letter", sender, subject, age, words, folder=folder, flags="S")
    _with_pictures(post)
    _with_files(post)
    _forwarded(post)


def _plain(post, category, sender, subject, age, words, **options):
    """Most programs write format=flowed by now, some wrap hard, and some write one endless line."""
    body = f"{words}\n\n{sender.first_name}" if sender.name and sender.first_name not in words[-60:] and len(words) > 80 else words
    writer = post.random.choice((mime.flowed, mime.flowed, lambda text: mime.text(mime.wrapped(text)),
                                 lambda text: mime.text(text, encoding="quoted-printable"),
                                 lambda text: mime.text(text, encoding="base64")))
    post.add(category, sender, subject, writer(body), age, **options)


# With pictures in the text

def _with_pictures(post):
    _illustrated(post, SAOIRSE, "This evening from the jetty", 5.2, [("evening.png", pictures.harbour(evening=True))],
                 "<p>Look at this. I was only looking for my other glove.</p>{0}<p>Wind drops at nine, they say. Tomorrow again?</p>", flags="F")
    _illustrated(post, PETRA, "The book is out of the oven", 47, [("braid.png", pictures.loaf())],
                 "<p>Dear Mara,</p><p>the trial run. It is a rectangle, as I told you, but I have given it a <em>spine</em>:</p>{0}"
                 "<p>For the real one I need your title. At most <strong>eleven letters</strong>, dough is not paper.</p><p>Petra</p>")
    _illustrated(post, THEO, "Loans per weekday", 58, [("loans.png", pictures.bars((210, 264, 198, 305, 342, 411)))],
                 "<p>As promised, the loans of last month by weekday, Monday to Saturday. Saturday in yellow.</p>{0}"
                 "<p>If we open earlier, I would not do it on Wednesday.</p>")
    _illustrated(post, WEISS, "Ansicht Nordwand", 84, [("nordwand.png", pictures.shelves()), ("grundriss.png", pictures.floor_plan())],
                 "<p>Guten Tag Frau Jansen,</p><p>so sieht die Nordwand gefüllt aus (die Bücher habe ich erfunden):</p>{0}"
                 "<p>und hier der Grundriss mit den neuen Tischen:</p>{1}<p>Mit freundlichem Gruß<br>Jürgen Weiß</p>")
    _illustrated(post, EZE, "Water level in the archive cellar", 146, [("level.png", pictures.curve((41, 42, 40, 44, 52, 71, 64, 55, 49, 46, 44)))],
                 "<p>Dear all,</p><p>this is the humidity in the cellar over the last eleven days. The peak is the night of the storm.</p>{0}"
                 "<p>The dehumidifier has earned its keep. The minutes of 1874 are dry.</p><p>A. Eze</p>")
    _illustrated(post, MATEO, "New name on the stern", 180, [("name.png", pictures.logo("#19535f", "sail"))],
                 "<p>The letters are on. I also painted the little sail, and now everybody wants one:</p>{0}")
    _illustrated(post, ELIN, "The garden from above", 212, [("garden.png", pictures.harbour())],
                 "<p>Nils flew his toy over the house. You can see the sea, the potatoes you cannot see.</p>{0}<p>Mum</p>")
    _illustrated(post, PIKE, "Grußwort, unterschrieben", 300, [("unterschrift.png", pictures.signature())],
                 "<p>Liebe Frau Jansen,</p><p>das Grußwort kann so gedruckt werden.</p><p>Mit besten Grüßen</p>{0}<p>Rosalind Pike</p>",
                 folder="Projekte/Sommerfest")


def _illustrated(post, sender, subject, age, images, body, **options):
    identities = [post.content_id(name.partition(".")[0]) for name, _ in images]
    tags = [f'<p><img src="cid:{identity}" alt="{name}" style="border-radius:6px"></p>' for identity, (name, _) in zip(identities, images)]
    rich = mime.html('<div style="font-family:Georgia,serif;font-size:15px;line-height:1.5">' + body.format(*tags) + "</div>")
    related = post.multipart("related", rich, *(mime.inline_image(name, data, identity)
                                                for (name, data), identity in zip(images, identities)),
                             parameters=';\n type="text/html"')
    plain = mime.text("\n".join(f"[{name}]" for name, _ in images) + "\n")
    post.add("inline image", sender, subject, post.alternative(plain, related), age, **options)


# With files

def _with_files(post):
    _filed(post, ACHTERBERG, "Invoice 2217", 17, "Dear Ms Jansen,\n\nplease find attached the invoice for the third quarter. Payable within 14 days.\n\nB. Achterberg",
           mime.attachment("invoice-2217.pdf", documents.pdf("Invoice 2217", (
               "Bookkeeping, third quarter", "", "12.5 hours at 64.00        800.00", "Postage                      4.80",
               "Total                      804.80", "", "Please pay within 14 days. Thank you for your trust.")), "application/pdf"), flags="FS")
    _filed(post, WEISS, "Auftragsbestätigung Lesesaal", 12.5, "Guten Tag zusammen,\n\nanbei die Auftragsbestätigung und die Stückliste als Tabelle.\n\nJürgen Weiß",
           mime.attachment("Auftragsbestätigung Lesesaal.pdf", documents.pdf("Auftragsbestätigung", (
               "Regale für den Lesesaal, Birke mit Eichenkante", "", "Nordwand 6,40 m mit Türen", "Ostwand 4,15 m", "Westwand 4,10 m", "",
               "Beginn: erster Montag des Monats. Dauer: zwei Wochen.")), "application/pdf", "rfc2231"),
           mime.attachment("Stückliste & Maße.csv", documents.table((("Pos", "Teil", "Maß mm", "Stück"), (1, "Seite", "2200×300", 22),
                           (2, "Boden", "900×300", 96), (3, "Tür", "880×600", 14), (4, "Knopf, Messing", "⌀ 24", 14))).encode("utf-8-sig"),
                           "text/csv; charset=utf-8", "continued"))
    _filed(post, MATEO, "Regatta: results and photos", 40, "The results as a table and a few pictures in the archive. Please send the thumb my regards.",
           mime.attachment("results.csv", documents.table((("Place", "Boat", "Time"), (1, "Duchess of Tar", "1:42:10"), (2, "Kittiwake", "1:43:55"),
                           (3, "Second Breakfast", "1:50:02"), (4, "Orange Dinghy", "3:11:40"))).encode(), "text/csv"),
           mime.attachment("photos-regatta.zip", documents.archive((("start.png", pictures.harbour()), ("finish.png", pictures.harbour(True)),
                           ("readme.txt", b"Taken from the jetty.\r\n"))), "application/zip"))
    _filed(post, CLEO, "Les lettres de 1903", 64, "Voici la transcription complète. Le nom du fichier est trop long, comme les lettres.",
           mime.attachment("Lettres de mon arrière-grand-mère à sa sœur, été 1903 – transcription complète, 2e version corrigée.txt",
                           "Ma chère Odile,\n\nla lampe est enfin arrivée, et l'on voit maintenant combien il y a de poussière.\n".encode("iso-8859-15"),
                           "text/plain; charset=iso-8859-15", "continued"))
    _filed(post, FREYA, "Plakat, letzte Fassung", 77, "Jetzt ohne Rot. Na gut, mit wenig Rot.",
           mime.attachment("Plakat_Lesenacht_größer.png", pictures.loaf(), "image/png", "rfc2047"))
    _filed(post, INES, "Opening hours, signed", 118, "Scanned on the old machine, so it looks as if it had been under water.",
           mime.attachment("scan0017.png", pictures.signature(), "image/png"),
           mime.attachment("opening-hours.txt", b"Mon-Thu 7:30-18:00\nFri 10:00-20:00\nSat 10:00-14:00\n", "text/plain; charset=us-ascii", encoding="7bit"))
    _filed(post, FARID, "Log of last night's import", 134, "Nothing to do for you, only for the files. The twelve records that failed are at the end of the log.",
           mime.attachment("import.log", "".join(f"2024-10-{day:02d}T03:00:{day:02d}Z imported batch {day} ({day * 37 % 91 + 400} records)\n"
                                                 for day in range(1, 29)).encode(), "text/x-log; charset=us-ascii", encoding="quoted-printable"),
           mime.attachment("failed.json", b'[{"id": 40117, "reason": "height 3.2 m"}, {"id": 40981, "reason": "no title"}]\n', "application/json"))
    _filed(post, SAOIRSE, "Contact of the sail maker", 156, "Her card is attached. She only answers before seven in the morning.",
           mime.attachment("sail-maker.vcf", documents.card("Brigid Doyle, sails", "brigid@example.org", "+1 555 0107").encode(), "text/vcard; charset=utf-8"))
    _filed(post, TOBIAS, "Hallenplan Winterlager", 196, "Die kurzen zuerst!",
           mime.attachment("Hallenplan Übersicht.png", pictures.floor_plan(), "image/png", "raw"), flags="S")
    _filed(post, EZE, "Council minutes, a sample", 240, "Two pages, typed by a clerk who disliked commas.",
           mime.attachment("minutes-1874.pdf", documents.pdf("Minutes of the council, 1874", (
               "Present were all and the doctor came late", "It was resolved to buy a lamp for the library if one be found cheap",
               "The matter of the goose was adjourned")), "application/octet-stream"))
    _filed(post, ACHTERBERG, "Accounts 2023, complete", 2099, "All vouchers in one archive.",
           mime.attachment("accounts-2023.zip", documents.archive([(f"voucher-{number:03d}.pdf", documents.pdf(f"Voucher {number}", ("Paid.",)))
                                                                   for number in range(1, 13)]), "application/x-zip-compressed"), folder="Archive")
    _filed(post, MARA, "Programme: texts and pictures", 118, "Dear Theo,\n\neverything for the programme, in the order in which it should be printed.",
           mime.attachment("programme.pdf", documents.pdf("Autumn programme", ("14th: Letters of 1903", "21st: Sourdough evening", "28th: Reading night")),
                           "application/pdf"),
           mime.attachment("cover.png", pictures.shelves(), "image/png"), folder="Sent", to=(THEO,), flags="S")


def _filed(post, sender, subject, age, words, *files, **options):
    post.add("attachment", sender, subject, post.multipart("mixed", mime.flowed(words), *files), age, **options)


# Forwarded

def _forwarded(post):
    for sender, note, original, style, age in (
            (THEO, "Did you know about this? It went to the old address.", "Lost property: one violin", "inline", 25),
            (INES, "For the files, please.", "Annual accounts: finished", "file", 160),
            (NILS, "mum sent this to me instead of you", "Apples", "inline", 158),
            (WILMA, "I keep getting his mails. Is there another Wilma?", "Scarf joint", "file", 137)):
        found = next(message for message in post.messages if message.subject == original)
        body = mime.embedded(found.content, None if style == "inline" else f"{original.replace(':', '')}.eml")
        post.add("forwarded", sender, f"Fwd: {original}", post.multipart("mixed", mime.flowed(note), body), age)
    letters = [message for message in post.messages if message.subject.endswith("Idee: Vorlesen am Telefon")]
    digest = post.multipart("digest", *(mime.Part([], message.content) for message in letters))
    post.add("forwarded", INES, "Vorlesen am Telefon, bisherige Post", post.multipart("mixed", mime.flowed("Zum Weiterlesen."), digest),
             24 * 24, folder="Projekte/Entwürfe & Ideen", flags="S")
    text = ("Bitte bis Freitag zurück.\n\n---------- Forwarded message ---------\nFrom: Rosalind Pike <rosalind.pike@council.example>\n"
            "Subject: Fragebogen\n\nWie oft nutzen Sie die Bücherei? (nie / selten / ich wohne dort)")
    post.add("forwarded", INES, "WG: Fragebogen", mime.flowed(text), 225)
