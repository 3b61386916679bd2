"""Newsletters as senders of mass mail build them: tables in tables, inline styles, remote pictures, counted links, pixels."""

import base64
import html
from dataclasses import dataclass

from demo.mailbox import mime
from demo.mailbox.people import Person

# The weight of a newsletter comes from markup, not from words: this is what its links and its styles bring it to.
_TARGET_SIZE = 100_000
_LEAST_TOKEN, _MOST_TOKEN = 200, 900
_IMAGES = "https://images.example"


@dataclass(frozen=True)
class Brand:
    name: str
    address: str
    subject: str
    preheader: str
    accent: str
    dark: str
    tint: str
    serif: bool
    hero: tuple        # title, text, button
    articles: tuple    # (kicker, title, text) each
    items: tuple       # (name, price) each
    hours: float
    folder: str = "INBOX"
    language: str = "en"


# The words of the frame around the articles.
_WORDS = {
    "en": {"menu": ("New", "Favourites", "Visit us"), "offers": "Picked for you", "agenda": "In short", "more": "Read on", "add": "Add", "number": "No.",
           "days": ("Mon", "Tue", "Wed", "Thu", "Fri", "Sat", "Sun"), "why": "You get this letter because you asked for it at the counter.",
           "browser": "View in browser", "preferences": "Preferences", "leave": "Unsubscribe", "street": "1 Harbour Street, Larkhaven."},
    "de": {"menu": ("Neu", "Beliebt", "Vor Ort"), "offers": "Für Sie ausgesucht", "agenda": "Kurz gesagt", "more": "Weiterlesen", "add": "Kaufen", "number": "Nr.",
           "days": ("Mo", "Di", "Mi", "Do", "Fr", "Sa", "So"), "why": "Sie erhalten diesen Brief, weil Sie ihn bestellt haben.",
           "browser": "Im Browser ansehen", "preferences": "Einstellungen", "leave": "Abbestellen", "street": "Hafenstraße 1, Larkhaven."},
}

BRANDS = (
    Brand("Tidewater Books", "news@tidewater-books.example", "The ten novels we read under the table this month",
          "Three lighthouses, one murder, and a cookbook that made us cry", "#7b2d26", "#2a1512", "#f9f1ea", True,
          ("Long evenings want long books", "Our readers have been through four hundred new novels so that you need not. Ten have stayed on the bedside table.", "See the ten"),
          (("Novel", "The Keeper’s Daughter", "A lighthouse, two sisters and a lamp that goes out once every nine years. The best first sentence of the season."),
           ("Crime", "Low Water", "A body on the sandbank, gone with the next tide. Inspector Vane has six hours and a cold."),
           ("Essay", "On Standing in Queues", "Philosophy for people with a basket on their arm: patient, funny, exactly 120 pages."),
           ("Cookery", "Salt, Smoke, Patience", "Forty recipes from harbours between Cork and Riga. Yes, the one with the smoked eel."),
           ("Poetry", "Inventory of a Small Room", "Nothing happens, and at the end everything is different. We read it aloud in the shop."),
           ("Children", "Bosun and the Eleven Sheep", "A dog who can count, almost. For readers from four, and for those who read to them."),
           ("History", "The Town That Moved", "In 1911 a whole village was carried uphill, house by house. With all the original bills."),
           ("Interview", "“I write in the bath”", "A conversation with Tove Arnesen about deadlines, damp paper and the right temperature.")),
          (("Linen bookmark", "4.50"), ("Reading lamp, brass", "39.00"), ("Subscription, 6 books", "96.00"), ("Tote bag “Low Water”", "12.00")), 2.4),
    Brand("Saltmarsh Outfitters", "hello@saltmarsh-outfitters.example", "Oilskins are back (and so is the yellow)", "New in: everything that keeps water outside",
          "#a66a00", "#1c2b36", "#f3f6f7", False,
          ("Weather is a matter of clothing", "The new foul-weather collection is lighter by a third and as yellow as ever. Taped seams, real pockets, a hood that turns with the head.", "To the collection"),
          (("Jackets", "Skerry jacket", "Three layers, 640 grams, tested on a pilot boat for one whole winter by people who do not say thank you."),
           ("Boots", "Slipway boots", "The sole holds on weed. We have tried, several times, with witnesses."),
           ("Care", "How to wash an oilskin", "Lukewarm, inside out, never with softener. And please take the shackle out of the pocket."),
           ("Repair", "We mend what we sold", "Send us your torn knee. The repair shop has a waiting time of nine days and a very kind lady."),
           ("Children", "Small sizes, big weather", "From 98 to 152, with room for one more jumper and sleeves that grow along."),
           ("Story", "A night on the pilot boat", "Two in the morning, eight Beaufort, and coffee that has been standing since Tuesday."),
           ("Guide", "Which layer when?", "A table for the wall of the boat shed. Free, and it survives being wet.")),
          (("Skerry jacket", "289.00"), ("Slipway boots", "119.00"), ("Wool cap", "24.00"), ("Gloves, waxed", "32.00")), 8),
    Brand("Krume & Korn", "brief@krume-bakery.example", "What is in the oven this week", "Rye on Tuesday, knots on Friday, no almond things", "#b86f32", "#40230f", "#fbf3e6", True,
          ("The week of the rye", "The new rye is here, and it is darker than last year’s. From Tuesday it goes into the big loaves, from Thursday into everything.", "Order a loaf"),
          (("Tuesday", "Larkhaven rye", "Two days of dough, one hour of oven. Keeps for a week, if you hide it."),
           ("Wednesday", "Seeded square", "Linseed, sesame, pumpkin. For those who like to hear their breakfast."),
           ("Thursday", "Sourdough evening", "Eight people, eight jars, one very old culture called Gertrud. Two places are free."),
           ("Friday", "Cardamom knots", "From half past six until they are gone. Last Friday that was at ten past eight."),
           ("Saturday", "The braid", "Plain, with poppy, or in a shape of your choice. We have done a goat."),
           ("Behind the counter", "Lotte has passed!", "Our apprentice is a journeywoman since Monday. Her piece: a lighthouse of choux, 80 cm."),
           ("Good to know", "What to do with old bread", "Soup, dumplings, croutons, and a pudding that nobody believes until it stands on the table.")),
          (("Larkhaven rye, 1 kg", "6.20"), ("Cardamom knots, 6", "9.00"), ("Flour of the month", "2.80"), ("Jar for Gertrud", "3.50")), 20),
    Brand("Fernweh Rail", "reisen@fernweh-rail.example", "Mit dem Nachtzug ans Meer – ab 39 €", "Abends einsteigen, morgens Salz in der Luft", "#0b5fa5", "#0a2540", "#eef4fa", False,
          ("Schlafen, während die Küste kommt", "Ab Dezember fahren drei neue Nachtzüge. Frühstück am Platz, Fahrrad im Gepäckwagen, und der Speisewagen hat wieder eine richtige Küche.", "Verbindung suchen"),
          (("Neu", "Abfahrt 21:40", "Täglich ab Hauptstadt, mit Halt an elf kleinen Bahnhöfen, von denen Sie noch nie gehört haben."),
           ("Reisebericht", "Drei Tage, vier Züge, ein Käsebrötchen", "Unsere Leserin Frau Demir ist bis zum Polarkreis gefahren. Das Brötchen hielt bis Tag zwei."),
           ("Service", "Abteil für sich allein", "Bis 30. November ohne Aufpreis, wenn Sie dienstags oder mittwochs reisen."),
           ("Tipp", "Was in den Nachtzug gehört", "Ohrstöpsel, ein dünnes Tuch, etwas zum Teilen. Mehr braucht es nicht."),
           ("Kinder", "Unter 14 fährt frei", "Auch nachts, auch im Liegewagen, auch mit Stofftier in eigener Koje."),
           ("Technik", "Warum es jetzt leiser ist", "Neue Drehgestelle, alte Bettwäsche. Ein Besuch in der Werkstatt.")),
          (("Liegewagen", "39,00"), ("Schlafwagen, 2 Betten", "89,00"), ("Abteil allein", "119,00"), ("Frühstück", "8,50")), 27, language="de"),
    Brand("The Lantern", "letters@lantern-weekly.example", "The Lantern, Saturday edition: who owns the beach?", "Also: a very long walk, and the man who tunes organs", "#222222", "#111111", "#f6f5f1", True,
          ("Who owns the beach?", "On three miles of sand there are eleven owners, two courts and one tide. A report from a place where the map changes twice a day.", "Read the report"),
          (("Report", "The sand that nobody sold", "A deed of 1688 grants it to “those who dry nets there”. There are four of them left."),
           ("Portrait", "The man who tunes organs", "He hears a church before he sees it. Forty years, nine hundred organs, one that got away."),
           ("Walking", "From one sea to the other", "Eleven days on foot, with a pebble in the pocket. It is customary to swap it."),
           ("Letters", "You wrote to us about crows", "Many of you wrote to us about crows. We print nine letters and, with permission, one feather."),
           ("Science", "How deep is the night?", "Measuring darkness with a telescope, a notebook and an understanding family."),
           ("Review", "A theatre in a dry dock", "The stage floods in the third act. Bring boots. Do not sit in row A."),
           ("Puzzle", "Crossword no. 2,411", "Seventeen across was wrong last week. We apologise to the province of Zeeland.")),
          (("Digital, one month", "6.00"), ("Paper and digital", "14.00"), ("A year as a present", "99.00"), ("Map of the beach", "18.00")), 44),
    Brand("Gardenia Seeds", "post@gardenia-seeds.example", "Now is the hour of the garlic", "Plant it before the first frost, harvest it when you are tan", "#4a7c3a", "#1f3318", "#f1f6ec", True,
          ("Garlic wants the cold", "Push the cloves in, point upwards, a hand apart, and forget them until March. Nothing else in the garden is so grateful for being ignored.", "Order garlic"),
          (("Bulbs", "Tulips, last call", "Forty sorts, nine of them scented, one almost black. Planting until the ground is hard."),
           ("Roses", "Cutting, without fear", "A slanted cut above an outward bud. The rest is confidence."),
           ("Compost", "What the heap is telling you", "If it smells of forest all is well. If it smells of anything else, read on."),
           ("Trees", "An apple for small gardens", "“Mother Petersen”, on a weak stock: two metres high and 30 kilos in a good year."),
           ("Birds", "Leave the seed heads", "Goldfinches on the teasel, blackbirds below, and you at the window with a cup."),
           ("Workshop", "Grafting for beginners", "Bring a knife and a plaster. We have the trees and further plasters.")),
          (("Garlic “Larkhaven”", "4.90"), ("Tulip mix, 50", "22.00"), ("Pruning saw", "28.50"), ("Felt pots, 10", "7.20")), 53),
    Brand("Kestrel Cameras", "news@kestrel-cameras.example", "Firmware 3.1 brings focus in the dark", "And 20% on everything with a strap", "#c94f2f", "#191919", "#f4f4f4", False,
          ("It sees more than you do", "With firmware 3.1 the K2 focuses at −6 EV, which is a barn at midnight. Free for all owners, in five minutes, without a cable.", "Get the update"),
          (("How-to", "Photographing the harbour at night", "A bag of rice is the best tripod. Eight seconds, two-second delay, no breath."),
           ("Lens", "35 mm, at last weatherproof", "The quiet classic gets seals on both ends and a hood that stays where it is."),
           ("Gallery", "Your pictures: fog", "1,900 entries, thirty winners, and a lot of invisible cows."),
           ("Service", "Sensor cleaning day", "Bring it in the morning, fetch it at noon. Coffee is on us, not on the sensor."),
           ("Used", "Second lives", "Checked, cleaned and with a year of warranty: 140 bodies from our exchange."),
           ("Behind the scenes", "Who tests the straps?", "Bernd. Bernd tests the straps. He jumps.")),
          (("K2 body", "1,190.00"), ("35 mm f/2", "449.00"), ("Strap, woven", "39.00"), ("Bag of rice", "3.00")), 70),
    Brand("Museum of Small Things", "newsletter@small-things.example", "New exhibition: buttons", "11,000 of them, and each has a story", "#6a45d8", "#241a45", "#f4f1fc", False,
          ("Buttons. Really.", "Bone, brass, glass and one of bread dough. The new exhibition shows what has held us together for five centuries.", "Plan your visit"),
          (("Exhibition", "The coat of the ferryman", "Twenty-two buttons, all different, one for every year without an accident."),
           ("Tour", "With a magnifying glass", "Saturdays at three, for adults; Sundays at eleven for those who see better."),
           ("Lecture", "What is a thing?", "Professor Adjei asks a simple question and does not let go of it for ninety minutes."),
           ("Collecting", "Send us your button tin", "We count, we photograph, we send it back. And we keep quiet about the safety pins."),
           ("Café", "Button biscuits", "Two holes or four holes, that is the question. With or without cocoa."),
           ("Membership", "Small membership", "Costs little, brings free entry, and a very small card.")),
          (("Ticket", "7.00"), ("Family ticket", "15.00"), ("Catalogue", "29.00"), ("Small card", "0.50")), 95),
    Brand("Pantry & Peel", "cook@pantry-peel.example", "Five suppers from one pumpkin", "Number four is a cake, do not tell the children", "#d2691e", "#3a1c08", "#fff6ec", False,
          ("One pumpkin, five evenings", "It weighs four kilos and looks at you. Here is the plan, from the soup on Monday to the risotto on Friday.", "To the recipes"),
          (("Monday", "Soup with too much ginger", "There is no such thing. Twenty minutes, one pot, one very good scarf."),
           ("Tuesday", "Roasted wedges, green sauce", "The skin stays on, and turns into the best part. Parsley, capers, lemon, no restraint."),
           ("Wednesday", "Dumplings in brown butter", "Sage from the window sill. Make double, they freeze like little soldiers."),
           ("Thursday", "The cake", "Moist, dark, with a crust of sugar. Nobody will guess. Say it is carrot."),
           ("Friday", "Risotto, properly stirred", "Eighteen minutes of standing there. Bring a glass and a friend."),
           ("Market", "What else is good now", "Quinces, leeks, the first mussels, and pears that want to be eaten today.")),
          (("Knife, 18 cm", "54.00"), ("Enamel pot", "62.00"), ("Book “Peel”", "26.00"), ("Nutmeg, whole", "3.90")), 118),
    Brand("Northlight Theatre", "programme@northlight-theatre.example", "Three premieres and a goose", "The programme until Christmas is here", "#a01c3c", "#1f0a10", "#faf0f2", True,
          ("The goose is real", "In “The Inspector Returns” a goose walks across the stage each evening. She is called Hildegard and has a contract.", "Buy tickets"),
          (("Premiere", "The Inspector Returns", "He said he would. A comedy with five doors, one of which is a window."),
           ("Premiere", "Winter Journal", "One actress, one suitcase, snow that falls upwards. Ninety minutes without a break."),
           ("Premiere", "King Log", "After an old fable. The frogs are played by the youth club, and how."),
           ("Workshop", "Falling without hurting yourself", "With our stunt coordinator. Mats are provided. Dignity is not."),
           ("Subscription", "Five evenings, four paid", "Choose five plays, sit in the same seat, meet the same neighbour. He is nice."),
           ("For schools", "Morning performances", "At ten, with a talk afterwards. Last year they asked about the goose. We listened.")),
          (("Stalls", "32.00"), ("Balcony", "19.00"), ("Subscription", "110.00"), ("Goose badge", "2.00")), 141),
    Brand("Lumen Electric", "kunden@lumen-electric.example", "Ihr Verbrauch im Oktober", "3 % weniger als im Vorjahr – gut gemacht", "#00897b", "#00332e", "#ecf7f5", False,
          ("Drei Prozent weniger", "Sie haben im Oktober 184 kWh verbraucht. Das ist weniger als im Vorjahr und weniger als in vergleichbaren Haushalten.", "Zum Verbrauch"),
          (("Tarif", "Preis bleibt stabil", "Der Arbeitspreis ändert sich zum Jahreswechsel nicht. Das schreiben wir gern zweimal: Er ändert sich nicht."),
           ("Tipp", "Der Kühlschrank und die Wand", "Fünf Zentimeter Abstand sparen im Jahr so viel wie ein Kinobesuch. Mit Popcorn."),
           ("Netz", "Wartung in der Hafenstraße", "Am Dienstag zwischen 9 und 10 Uhr wird es kurz dunkel. Kerzen sind vorrätig."),
           ("Solar", "Balkonkraftwerke", "800 Watt, zwei Schrauben, ein Formular. Das Formular übernehmen wir."),
           ("Kundenpreis", "Lesestoff für den Winter", "Wir verlosen zwanzig Leselampen, gestiftet von einer Buchhandlung am Hafen."),
           ("Service", "Zählerstand per Foto", "Einmal abdrücken, fertig. Bitte ohne Daumen.")),
          (("Balkonkraftwerk", "449,00"), ("Energieberatung", "0,00"), ("Zwischenstecker", "14,90"), ("Leselampe", "39,00")), 160, language="de"),
    Brand("Isle Ferries", "info@isle-ferries.example", "Winter timetable: last boat at 19:10", "Please read this before you miss it", "#005f73", "#00222b", "#eaf6f8", False,
          ("From Sunday, the last boat leaves earlier", "With the winter timetable the last ferry to the islands leaves at 19:10 instead of 20:40. The bar on board stays open.", "See the timetable"),
          (("Timetable", "Outer islands", "Mondays, Wednesdays and Saturdays; in the case of fog when the captain says so."),
           ("Tickets", "Ten trips, pay eight", "The winter card is valid until Easter and may be lent to your neighbour."),
           ("Wildlife", "Seal watching", "From the upper deck, with binoculars on loan. The seals are not on loan."),
           ("On board", "New soup", "Fish or lentil, with bread of a bakery you know. Served below force seven."),
           ("Notice", "Dredging in the harbour", "From the 3rd to the 7th departures are from the east quay. It is the one without the crane."),
           ("Story", "Forty years at the wheel", "Captain Moe retires, and takes with her the knowledge of every sandbank and every passenger.")),
          (("Single", "8.40"), ("Ten trips", "67.20"), ("Bicycle", "3.00"), ("Dog", "2.50")), 186),
    Brand("Tidewater Books", "news@tidewater-books.example", "Summer reading: what fits in a beach bag", "Light, salt-proof, under 400 pages", "#7b2d26", "#2a1512", "#f9f1ea", True,
          ("Books that survive sand", "Nine paperbacks for the beach, weighed, read and shaken out.", "See the nine"),
          (("Novel", "The Year of the Jellyfish", "Everybody on the island is waiting for somebody else. Then the ferry breaks down."),
           ("Crime", "Sunburn", "The lifeguard has seen everything, except the one thing that mattered."),
           ("Travel", "Slow Boats", "Around the world at walking pace, with a cat who disagrees."),
           ("Essay", "In Praise of Doing Nothing Much", "To be read lying down, at most two pages a day.")),
          (("Beach bag", "16.00"), ("Paperback set", "42.00"), ("Clip lamp", "14.00"), ("Magnet", "3.00")), 2950, "Archive"),
    Brand("Northlight Theatre", "programme@northlight-theatre.example", "Spring programme: everything sings", "Two operas in one act, and the goose returns", "#a01c3c", "#1f0a10", "#faf0f2", True,
          ("Everything sings", "In spring our house belongs to the voices: two short operas, a choir festival, and an evening of sea shanties for which you need no voice at all.", "Buy tickets"),
          (("Opera", "The Clockmaker", "Forty minutes, four singers, eleven clocks. They strike together, once."),
           ("Opera", "Telephone for Madame", "A comedy of a wrong number, sung in two languages at the same time."),
           ("Choir", "Nine choirs, one staircase", "The foyer as an instrument. Come early and stand in the middle."),
           ("Shanties", "Haul away", "With Tobias Lindgren at the bucket.")),
          (("Stalls", "32.00"), ("Staircase", "9.00"), ("Festival pass", "48.00"), ("Goose badge", "2.00")), 4200, "Archive"),
)


def add(post):
    for number, brand in enumerate(BRANDS):
        _Issue(post, brand, number).send()


class _Issue:
    """One issue of one newsletter."""

    def __init__(self, post, brand, number):
        self.post = post
        self.brand = brand
        self.number = number
        self.site = brand.address.partition("@")[2]
        self.font = ("Georgia,'Times New Roman',serif" if brand.serif
                     else "'Helvetica Neue',Helvetica,Arial,'Liberation Sans',sans-serif")
        self.words = _WORDS[brand.language]
        self.links = 0
        self.token_bytes = _LEAST_TOKEN

    def send(self):
        brand = self.brand
        reader = f"{self.post.random.getrandbits(48):012x}"
        missing = _TARGET_SIZE - len(self._page(reader).encode())
        self.token_bytes = min(max(_LEAST_TOKEN + missing * 3 // 4 // self.links, _LEAST_TOKEN), _MOST_TOKEN)
        self.links = 0
        extra = [("List-Id", f"{brand.name} <news.{self.site}>"),
                 ("List-Unsubscribe", f"<https://www.{self.site}/unsubscribe?r={reader}>,\n <mailto:leave@{self.site}?subject={reader}>"),
                 ("List-Unsubscribe-Post", "List-Unsubscribe=One-Click"), ("Precedence", "bulk"),
                 ("X-Campaign", f"{self.number:04d}-{reader}")]
        part = self.post.alternative(mime.text(self._plain(), encoding="quoted-printable"), mime.html(self._page(reader)))
        self.post.add("newsletter", Person(brand.name, brand.address), brand.subject, part, brand.hours, folder=brand.folder,
                      extra=extra, flags="S" if brand.folder == "Archive" else None)

    def _plain(self):
        title, text, button = self.brand.hero
        lines = [self.brand.name.upper(), "=" * len(self.brand.name), "", title, "", mime.wrap(text), "", f"{button}: {self._link('hero')}", ""]
        for kicker, name, words in self.brand.articles:
            lines += [f"* {kicker}: {name}", mime.wrap(words), ""]
        return "\n".join([*lines, f"{self.words['leave']}: https://www.{self.site}/unsubscribe", ""])

    # Addresses

    def _link(self, place):
        """A link as campaigns have it: the page, and everything that tells who clicked where, in the clear and sealed."""
        self.links += 1
        identity = f"{self.post.random.getrandbits(160):040x}"
        token = base64.urlsafe_b64encode(self.post.random.randbytes(self.token_bytes)).decode()
        return (f"https://www.{self.site}/{place}/{self.links}?id={self.number * 1000 + self.links}&utm_source=newsletter&utm_medium=email"
                f"&utm_campaign={place}-{self.number:02d}&utm_content=block-{self.links}&mc_eid={identity[:10]}&mc_cid={identity[10:20]}"
                f"&_hsenc=p2ANqtz-{identity}&d={token}")

    def _href(self, place):
        return html.escape(self._link(place))

    def _picture(self, name, width, height, alternative):
        return (f'<img src="{_IMAGES}/{self.site}/{self.number:02d}/{name}@2x.jpg" width="{width}" height="{height}" '
                f'alt="{html.escape(alternative)}" border="0" style="display:block;width:100%;max-width:{width}px;height:auto;border:0;'
                f'outline:none;text-decoration:none;font-family:{self.font};font-size:13px;color:{self.brand.dark}">')

    # The page

    def _page(self, reader):
        brand = self.brand
        blocks = [self._header(), self._hero(), self._articles(), self._divider(self.words["offers"]), self._items(), self._divider(self.words["agenda"]),
                  self._brief(), self._band()]
        head, tail = self._head(), self._footer(reader)
        return (head + f'<body bgcolor="{brand.tint}" style="margin:0;padding:0;width:100%;background-color:{brand.tint};'
                       f'-webkit-text-size-adjust:100%" onload="count()">{self._preheader()}'
                       f'<table role="presentation" width="100%" cellpadding="0" cellspacing="0" border="0" bgcolor="{brand.tint}">\n'
                       f'<tr><td align="center" style="padding:24px 12px">\n<!--[if mso]><table width="640"><tr><td><![endif]-->\n'
                       f'<table role="presentation" class="shell" width="640" cellpadding="0" cellspacing="0" border="0" bgcolor="#ffffff" '
                       f'style="width:100%;max-width:640px;background-color:#ffffff;border-radius:12px;overflow:hidden">\n'
                + "\n".join(blocks) + tail + "</table>\n<!--[if mso]></td></tr></table><![endif]-->\n</td></tr></table>\n"
                + self._pixels(reader) + "</body></html>\n")

    def _head(self):
        brand = self.brand
        steps = "\n".join(
            f"  .w-{width} {{ width: {width}% !important; max-width: {width}% !important; }}\n"
            f"  .p-{width} {{ padding: {width // 5}px !important; }}\n  .h-{width} {{ height: auto !important; min-height: {width}px !important; }}\n"
            f"  .fs-{width} {{ font-size: {10 + width // 5}px !important; line-height: {14 + width // 4}px !important; }}"
            for width in range(2, 101, 2))
        return (f'<!DOCTYPE html>\n<html lang="{brand.language}" xmlns="http://www.w3.org/1999/xhtml" xmlns:o="urn:schemas-microsoft-com:office:office">\n'
                f'<head>\n<meta charset="utf-8">\n<meta name="viewport" content="width=device-width, initial-scale=1">\n'
                f'<meta name="x-apple-disable-message-reformatting">\n<title>{html.escape(brand.subject)}</title>\n'
                f'<link rel="stylesheet" href="https://fonts.example/css?family={brand.name.split()[0]}">\n'
                f'<!--[if mso]><xml><o:OfficeDocumentSettings><o:PixelsPerInch>96</o:PixelsPerInch></o:OfficeDocumentSettings></xml><![endif]-->\n'
                f"<style type=\"text/css\">\n@import url('https://fonts.example/{brand.name.split()[0].lower()}.css');\n"
                f"@font-face {{ font-family: 'House'; src: url(https://fonts.example/house.woff2) format('woff2'); }}\n"
                f"body, table, td, a {{ -webkit-text-size-adjust: 100%; -ms-text-size-adjust: 100%; }}\n"
                f"table, td {{ mso-table-lspace: 0pt; mso-table-rspace: 0pt; border-collapse: collapse; }}\n"
                f"img {{ -ms-interpolation-mode: bicubic; }}\na {{ color: {brand.accent}; }}\n.button:hover {{ opacity: .9; }}\n"
                f".hero {{ background-image: url('{_IMAGES}/{self.site}/{self.number:02d}/grain.png'); }}\n"
                f"@media screen and (max-width: 620px) {{\n  .shell {{ width: 100% !important; border-radius: 0 !important; }}\n"
                f"  .column {{ display: block !important; width: 100% !important; }}\n{steps}\n}}\n"
                f"@media (prefers-color-scheme: dark) {{ .shell {{ background: #1d1b22 !important; }} }}\n</style>\n</head>\n")

    def _preheader(self):
        return (f'<div style="display:none;font-size:1px;line-height:1px;max-height:0;max-width:0;opacity:0;overflow:hidden;mso-hide:all">'
                f'{html.escape(self.brand.preheader)}{"&#8199;&#65279;&#847; " * 60}</div>\n')

    def _header(self):
        brand = self.brand
        menu = " &nbsp;·&nbsp; ".join(f'<a href="{self._href("menu")}" style="color:{brand.dark};text-decoration:none">{label}</a>'
                                      for label in self.words["menu"])
        return (f'<tr><td style="padding:22px 32px;border-bottom:1px solid #ece9e4"><table role="presentation" width="100%" cellpadding="0" '
                f'cellspacing="0" border="0"><tr>\n<td align="left" style="font-family:{self.font};font-size:22px;font-weight:bold;'
                f'letter-spacing:.3px;color:{brand.accent}">{html.escape(brand.name)}</td>\n<td align="right" style="font-family:{self.font};'
                f'font-size:13px;color:{brand.dark}">{menu}</td></tr></table></td></tr>')

    def _hero(self):
        brand = self.brand
        title, text, button = brand.hero
        return (f'<tr><td class="hero" bgcolor="{brand.dark}" style="background-color:{brand.dark}">\n'
                f'<a href="{self._href("hero")}">{self._picture("hero", 640, 300, title)}</a>\n'
                f'<table role="presentation" width="100%" cellpadding="0" cellspacing="0" border="0"><tr><td style="padding:44px 40px 48px">\n'
                f'<h1 style="margin:0 0 14px;font-family:{self.font};font-size:34px;line-height:40px;font-weight:bold;color:#ffffff">{html.escape(title)}</h1>\n'
                f'<p style="margin:0 0 26px;font-family:{self.font};font-size:17px;line-height:27px;color:#e9e4ee">{html.escape(text)}</p>\n'
                f'{self._button(button, "hero", brand.accent)}\n</td></tr></table></td></tr>')

    def _button(self, label, place, colour):
        # The comment is for the one mail program that draws pages with a word processor.
        return (f'<!--[if mso]><v:roundrect xmlns:v="urn:schemas-microsoft-com:vml" href="{self._href(place)}" style="height:44px;'
                f'v-text-anchor:middle;width:200px" arcsize="18%" strokecolor="{colour}" fillcolor="{colour}"><w:anchorlock/><center '
                f'style="color:#ffffff;font-family:sans-serif;font-size:15px;font-weight:bold">{html.escape(label)}</center></v:roundrect><![endif]-->'
                f'<table role="presentation" cellpadding="0" cellspacing="0" border="0"><tr><td align="center" bgcolor="{colour}" '
                f'style="border-radius:8px;background-color:{colour}"><a class="button" href="{self._href(place)}" target="_blank" '
                f'style="display:inline-block;padding:13px 26px;font-family:{self.font};font-size:15px;line-height:18px;font-weight:bold;'
                f'color:#ffffff;text-decoration:none;border-radius:8px">{html.escape(label)}</a></td></tr></table>')

    def _articles(self):
        articles = self.brand.articles
        rows = [articles[index:index + 2] for index in range(0, len(articles), 2)]
        return "\n".join(
            '<tr><td style="padding:28px 20px 0"><table role="presentation" width="100%" cellpadding="0" cellspacing="0" border="0"><tr>\n'
            + "\n".join(self._article(*article, single=len(row) == 1) for article in row) + "\n</tr></table></td></tr>" for row in rows)

    def _article(self, kicker, title, text, single):
        brand = self.brand
        name = "".join(character for character in title.lower() if character.isascii() and character.isalnum())[:18] or "story"
        return (f'<td class="column" width="{100 if single else 50}%" valign="top" style="padding:0 12px 8px;vertical-align:top">\n'
                f'<a href="{self._href("article")}" style="text-decoration:none">{self._picture(name, 576 if single else 276, 180, title)}</a>\n'
                f'<p style="margin:14px 0 6px;font-family:{self.font};font-size:11px;line-height:14px;letter-spacing:1.4px;font-weight:bold;'
                f'text-transform:uppercase;color:{brand.accent}">{html.escape(kicker)}</p>\n'
                f'<h2 style="margin:0 0 8px;font-family:{self.font};font-size:20px;line-height:26px;font-weight:bold">'
                f'<a href="{self._href("article")}" style="color:{brand.dark};text-decoration:none">{html.escape(title)}</a></h2>\n'
                f'<p style="margin:0 0 10px;font-family:{self.font};font-size:15px;line-height:23px;color:#4b4652">{html.escape(text)}</p>\n'
                f'<p style="margin:0;font-family:{self.font};font-size:14px;line-height:20px"><a href="{self._href("more")}" '
                f'style="color:{brand.accent};font-weight:bold;text-decoration:none">{self.words["more"]}&nbsp;→</a></p>\n</td>')

    def _divider(self, label):
        return (f'<tr><td style="padding:36px 32px 4px"><table role="presentation" width="100%" cellpadding="0" cellspacing="0" border="0"><tr>'
                f'<td style="border-top:2px solid {self.brand.accent};padding-top:14px;font-family:{self.font};font-size:18px;font-weight:bold;'
                f'color:{self.brand.dark}">{label}</td></tr></table></td></tr>')

    def _items(self):
        brand = self.brand
        cells = "\n".join(
            f'<td class="column" width="25%" valign="top" bgcolor="{brand.tint}" style="padding:14px 12px 16px;background-color:{brand.tint};'
            f'border:6px solid #ffffff;border-radius:12px"><a href="{self._href("offer")}">{self._picture(f"offer-{index}", 124, 124, name)}</a>\n'
            f'<p style="margin:10px 0 2px;font-family:{self.font};font-size:14px;line-height:19px;font-weight:bold;color:{brand.dark}">{html.escape(name)}</p>\n'
            f'<p style="margin:0 0 8px;font-family:{self.font};font-size:12px;line-height:17px;color:#6b6571">{self.words["number"]} {self.number * 100 + index + 1001}</p>\n'
            f'<p style="margin:0;font-family:{self.font};font-size:14px;line-height:18px;color:{brand.accent}">€&nbsp;{price} &nbsp;'
            f'<a href="{self._href("basket")}" style="color:{brand.accent}">{self.words["add"]}</a></p></td>' for index, (name, price) in enumerate(brand.items))
        return ('<tr><td style="padding:6px 14px 0"><table role="presentation" width="100%" cellpadding="0" cellspacing="0" border="0"><tr>\n'
                + cells + "\n</tr></table></td></tr>")

    def _brief(self):
        """The table of contents that many letters have at their end, with a day for each line."""
        brand = self.brand
        days = self.words["days"]
        rows = "\n".join(
            f'<tr><td width="64" valign="top" style="padding:9px 0;border-bottom:1px solid #ece9e4;font-family:{self.font};font-size:13px;line-height:20px;'
            f'font-weight:bold;color:{brand.accent}">{days[(index + self.number) % 7]} {(index * 3 + self.number * 5) % 27 + 1}</td>\n'
            f'<td valign="top" style="padding:9px 0;border-bottom:1px solid #ece9e4;font-family:{self.font};font-size:14px;line-height:20px">'
            f'<a href="{self._href("agenda")}" style="color:{brand.dark};text-decoration:none">{html.escape(title)}</a> '
            f'<span style="color:#6b6571">· {html.escape(kicker)}</span></td></tr>' for index, (kicker, title, _) in enumerate(brand.articles))
        return (f'<tr><td style="padding:6px 32px 0"><table role="presentation" width="100%" cellpadding="0" cellspacing="0" border="0">\n{rows}\n</table></td></tr>')

    def _band(self):
        brand = self.brand
        return (f'<tr><td style="padding:32px 32px 0"><table role="presentation" width="100%" cellpadding="0" cellspacing="0" border="0"><tr>'
                f'<td align="center" bgcolor="{brand.tint}" style="padding:28px 24px 30px;background-color:{brand.tint};border-radius:10px">'
                f'<p style="margin:0 0 16px;font-family:{self.font};font-size:18px;line-height:26px;font-weight:bold;color:{brand.dark}">'
                f'{html.escape(brand.preheader)}</p>\n<table role="presentation" align="center" cellpadding="0" cellspacing="0" border="0"><tr><td>'
                f'{self._button(brand.hero[2], "band", brand.accent)}</td></tr></table></td></tr></table></td></tr>')

    def _footer(self, reader):
        brand = self.brand
        return (f'<tr><td style="padding:30px 0 0"></td></tr>\n<tr><td bgcolor="{brand.dark}" align="center" style="padding:30px 40px;'
                f'background-color:{brand.dark};font-family:{self.font};font-size:12px;line-height:20px;color:#cfc9d4">\n'
                f'<p style="margin:0 0 10px;font-size:15px;color:#ffffff;font-weight:bold">{html.escape(brand.name)}</p>\n'
                f'<p style="margin:0 0 10px">{self.words["street"]} {self.words["why"]}</p>\n'
                f'<p style="margin:0"><a href="{self._href("browser")}" style="color:#ffffff">{self.words["browser"]}</a> &nbsp;·&nbsp; '
                f'<a href="https://www.{self.site}/preferences?r={reader}" style="color:#ffffff">{self.words["preferences"]}</a> &nbsp;·&nbsp; '
                f'<a href="https://www.{self.site}/unsubscribe?r={reader}" style="color:#ffffff">{self.words["leave"]}</a></p></td></tr>\n')

    def _pixels(self, reader):
        """What tells the sender that, when and where the letter was opened."""
        return (f'<img src="https://track.{self.site}/wf/open?upn={reader}" alt="" width="1" height="1" border="0" '
                f'style="height:1px !important;width:1px !important">\n<img src="{_IMAGES}/o.gif?r={reader}" width="2" height="2" alt="">\n'
                f'<img src="https://pixel.metrics.example/beacon/{reader}.gif" style="display:none" alt="">\n'
                f"<script>function count(){{fetch('https://track.{self.site}/js?r={reader}')}}</script>\n")
