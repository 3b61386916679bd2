"""Conversations of several people, with their quotations."""

from demo.mailbox import mime
from demo.mailbox.people import (ELIN, EZE, FARID, INES, MARA, MATEO, NILS, OLE, PETRA, PIKE, SAOIRSE, THEO, TOBIAS, WEISS,
                                 WILMA)

_SIGNATURES = {
    MARA: "Mara Jansen\nLarkhaven Library, programme and events",
    INES: "Ines Okafor\nHead librarian, Larkhaven Library",
    WEISS: "Werkhof Weiß · Tischlerei · Am Alten Speicher 4",
    PIKE: "Rosalind Pike\nTown council, culture and schools",
    TOBIAS: "Tobias\n(commodore, which means: the one with the keys)",
    PETRA: "Petra Hofmann\nKrume & Korn, bakery since 1911",
}

_MAX_QUOTED_LINES = 14

# Each row: who writes, which row it answers (none for the first), and what.

SHELVES = (
    (INES, None, "Dear all,\n\nthe council has released the money for the reading room, so the old metal shelves can finally go. "
     "Jürgen has offered two ways of building the new ones: solid oak, which we could afford for two of the three walls, or birch "
     "plywood with an oak edge, which would do for all three.\n\nI would like us to choose together, and before the end of the month, "
     "because he has a gap in his order book. Please say what you think, also if you think it is a waste of paint."),
    (THEO, 0, "Birch, all three walls. Half a room in oak would look as if we had run out of money, which would be true."),
    (WILMA, 0, "Oak! My grandchildren will still lean their bicycles against it. We can do the third wall in two years."),
    (OLE, 2, "Two years in this town means nine. I remember the bicycle stand."),
    (INES, 3, "The bicycle stand was a special case, Ole. But I take the point."),
    (MARA, 0, "Could we ask for a sample of both? Under our lamps everything turns the colour of porridge, and I would like to see "
     "which of the two survives that."),
    (WEISS, 5, "Guten Tag zusammen,\n\nof course. I can bring two boards of 40 × 60 cm on Thursday, oiled and unoiled. Please lean "
     "them against the wall for a few days and let the visitors touch them. People decide with their hands."),
    (THEO, 6, "Thursday is fine. I will make a little sign: please touch."),
    (OLE, 7, "And another sign: please do not vote twice."),
    (WILMA, 6, "What about weight? The local history folios are 4 kg each and there are sixty of them."),
    (WEISS, 9, "With 90 cm spans the plywood bends 2 mm under that load, the oak 3 mm. Yes, really: plywood is stiffer than people think. "
     "With a steel strip under the front edge both stay straight. I would add the strip for the folios in any case."),
    (WILMA, 10, "I withdraw half of my objection."),
    (THEO, 11, "Which half?"),
    (WILMA, 12, "The half with the bicycles."),
    (PIKE, 0, "Good morning,\n\na remark from the council's side: the sum is for the year, and what is not spent by the 15th of "
     "December goes back. I would not plan with a second round."),
    (INES, 14, "Thank you, Rosalind, that is important. It means that whatever we leave out now we leave out for good."),
    (OLE, 15, "Then I am for birch as well. An empty wall is not a statement."),
    (MARA, 6, "The boards are up since this morning. First remarks, collected at the desk: “smells like a boat”, “is that "
     "free to take?”, and one boy who licked the oak."),
    (INES, 17, "I hope unoiled."),
    (MARA, 18, "I hope so too. His mother said he does that."),
    (WEISS, 17, "The oil is food-safe. I have children myself."),
    (THEO, 17, "Interim result from the sheet: 31 for birch, 26 for oak, 4 for “books are what matters”."),
    (WILMA, 21, "Those four are right, of course."),
    (OLE, 21, "One of the four is in your handwriting, Wilma."),
    (WILMA, 23, "A librarian does not discuss ballots."),
    (EZE, 9, "Dear colleagues,\n\nIf I may join from the archive: should you build closed cupboards at the bottom, the council minutes of "
     "1874–1931 could come home to you. They need doors against the light, and no heating pipe behind them. Here they stand in a "
     "corridor and are in the way of the fire brigade."),
    (INES, 25, "Dear Adaeze, that would be a wonderful reason for people to come upstairs. Jürgen, are doors possible on the north wall?"),
    (WEISS, 26, "On the north wall yes, 35 cm deep, with brass knobs. It adds about four days. I attach nothing yet, the drawing follows "
     "when you have decided about the wood."),
    (THEO, 27, "North wall also has no pipe. I have just crawled along it, ask me about dust."),
    (INES, 21, "Final count then, tomorrow at five."),
    (THEO, 29, "Birch 58, oak 41, books 9. Turnout better than at the school board."),
    (PIKE, 30, "I heard that. You are not wrong."),
    (INES, 30, "Then it is birch with an oak edge on three walls, doors on the north wall, and the steel strip for the folios. Thank "
     "you all, this was a pleasure. Jürgen, please send the drawing and an order confirmation with the date."),
    (WEISS, 32, "Thank you for your confidence. The order is written, we start on the first Monday of next month. For two weeks it will "
     "be loud from eight to three; perhaps put the story hour somewhere else."),
    (MARA, 33, "Story hour moves to the bakery. Petra has agreed, on the condition that the story contains bread."),
    (OLE, 34, "I know eleven of those. Twelve, if pretzels count."),
    (WILMA, 34, "Pretzels count. And I shall bring the four-kilo folios downstairs myself, so that I can say I did."),
    (INES, 36, "Wilma, with the trolley, please."),
)

REGATTA = (
    (TOBIAS, None, "Ahoy,\n\nthe autumn regatta needs hands. Start is at eleven, high water at 10:40, so the small boats have to be in by nine. "
     "We need two people on the jetty, one on the radio, three in the kitchen, and somebody who owns a printer that works.\n\nWho brings what?"),
    (SAOIRSE, 0, "Radio is mine. The kitchen gets my big pot and not me."),
    (MATEO, 0, "Jetty, with pleasure. I can also do the printer: what do you need?"),
    (TOBIAS, 2, "Start lists, 30 sheets, and the course chart in A3. You are a saint."),
    (MARA, 0, "Kitchen. I make the fish soup if somebody brings fish, and I will borrow the tent of the library."),
    (NILS, 4, "Fish is settled, my neighbour owes me some. Do not ask."),
    (MARA, 5, "I am asking."),
    (NILS, 6, "It is legal. It has to do with a lawnmower."),
    (SAOIRSE, 0, "The forecast says 5 from the south-west, gusting 6. Optimists stay in if that holds."),
    (TOBIAS, 8, "Agreed. Decision at eight on the jetty, flag O on the mast if the children sail."),
    (MATEO, 9, "Printed. The chart came out in magenta because the cyan is empty, so the channel is now pink."),
    (SAOIRSE, 10, "At last a chart that I can read without glasses."),
    (TOBIAS, 0, "Thank you all! 23 boats, no damage except one thumb, and the soup was gone at noon. Results follow tomorrow."),
    (ELIN, 12, "As the owner of the thumb: it was worth it."),
)

READING_NIGHT = (
    (MARA, None, "Dear Petra,\n\nthe reading night is on the last Friday of the month. Would you bake for us again? We expect about sixty people, "
     "and last time everything was gone before the second chapter."),
    (PETRA, 0, "Dear Mara,\n\nof course! Sixty people are three trays of cardamom knots, forty rye rolls and the big braid. Do you have "
     "people who cannot eat nuts? Then I leave the almond things at home."),
    (MARA, 1, "Two children with nut allergies, so please none at all. And could we have the braid in the shape of a book? I know what I am asking."),
    (PETRA, 2, "I have done a harp, an anchor and a goat. A book is a rectangle, Mara."),
    (THEO, 3, "The goat was the best thing that ever happened in this town."),
    (PETRA, 4, "It had five legs."),
    (MARA, 5, "Nobody counted until the photographs."),
    (PETRA, 2, "Delivery at 18:30 by the side door. I will take the empty trays with me on Saturday. Costs as last year, and the braid is my present."),
    (INES, 7, "Petra, thank you. The library owes you a shelf."),
)

CATALOGUE = (
    (FARID, None, "Hi Mara, hi Theo,\n\nthe new catalogue search is on the test server. It now folds accents, so “Suarez” finds Suárez and "
     "“strasse” finds Straße. Could you try the twenty queries from your list and tell me which results look wrong?"),
    (THEO, 0, "17 of 20 are right. Wrong: “weiss holz” (finds every white wine), “tove” (finds only films) and “1874”, "
     "which finds nothing although there are ninety volumes with that year."),
    (FARID, 1, "Thanks! Years were not indexed as text, my mistake; fixed. “tove” is a matter of weights. The wine I will not touch."),
    (MARA, 2, "Please do not touch the wine. One more wish: when somebody searches for an author, show the books on the shelf first and the "
     "reserved ones after them."),
    (FARID, 3, "Done and deployed to test. Ordering is: on the shelf, due back this week, everything else."),
    (THEO, 4, "20 of 20. I am going to print this mail and hang it up."),
)

STREET_MUSIC = (
    (PIKE, None, "Dear Ms Jansen,\n\nthe summer festival wants to put a stage in front of the library on Saturday from two to ten in the evening. "
     "Would that disturb you?"),
    (MARA, 0, "Dear Ms Pike,\n\nnot at all, we close at two. If the stage stands on the left of the steps, the ramp stays free and the book "
     "return works. May we have electricity from it for a reading at five?"),
    (PIKE, 1, "Left of the steps it is. You may have 16 ampere and my sincere envy for your quiet office."),
    (OLE, 2, "I have measured: left of the steps there are 6.2 metres to the lime tree. The stage is six. The drummer should be slim."),
    (THEO, 3, "The drummer is my cousin. He is not."),
)


def add(post):
    _thread(post, "thread", "Reading room shelves: oak or birch ply?", SHELVES, 19 * 24, 5, (INES, THEO, WILMA, OLE, WEISS))
    _thread(post, "thread", "Autumn regatta: who brings what", REGATTA, 11 * 24, 30, (TOBIAS, SAOIRSE, MATEO, NILS))
    _thread(post, "thread", "Bread for the reading night", READING_NIGHT, 6 * 24, 20, (PETRA,))
    _thread(post, "thread", "Catalogue search: test server", CATALOGUE, 9 * 24, 6 * 24, (FARID, THEO))
    _thread(post, "thread", "Bühne vor der Bücherei / stage in front of the library", STREET_MUSIC, 13 * 24, 10 * 24,
            (PIKE, OLE), folder="Projekte/Sommerfest")


def _thread(post, category, subject, rows, first_age, last_age, members, folder="INBOX"):
    """Spreads a conversation over the hours from `first_age` to `last_age` ago."""
    steps = sorted((post.random.random() for _ in rows[1:-1]), reverse=False)
    shares = [0.0, *steps, 1.0]
    sent = []
    for (sender, answers, words), share in zip(rows, shares):
        age = first_age + (last_age - first_age) * share
        parent = sent[answers] if answers is not None else None
        others = [person for person in dict.fromkeys((MARA, *members)) if person != sender]
        to, cc = (others[:1], others[1:]) if parent is None else _audience(rows[answers][0], sender, others)
        answered = any(row[0] == MARA and row[1] == len(sent) for row in rows)
        own = sender == MARA
        message = post.add(
            category, sender, subject if parent is None else f"Re: {subject}",
            mime.flowed(_words(post, sender, words, rows, sent, answers)), age, to=to, cc=cc, parent=parent,
            folder="Sent" if own else folder, flags="S" if own else "RS" if answered else None)
        sent.append(message)
    return sent


def _audience(answered, sender, others):
    to = [answered] if answered != sender else others[:1]
    return to, [person for person in others if person not in to]


def _words(post, sender, words, rows, sent, answers):
    signature = _SIGNATURES.get(sender)
    tail = f"\n\n-- \n{signature}" if signature else ""
    if answers is None:
        return f"{words}\n\n{sender.first_name}{tail}"
    author, grandparent, quote = rows[answers]
    date = sent[answers].date
    lines = mime.quoted(quote).split("\n")
    if grandparent is not None and len(lines) < 8:
        lines += [">"] + mime.quoted(f"{rows[grandparent][0].name} wrote:\n{mime.quoted(rows[grandparent][2])}").split("\n")
    lines = lines[:_MAX_QUOTED_LINES]
    quotation = f"On {date:%d %b %Y at %H:%M}, {author.name} wrote:\n" + "\n".join(lines)
    if post.random.random() < 0.6:
        return f"{quotation}\n\n{words}\n\n{sender.first_name}{tail}"
    return f"{words}\n\n{sender.first_name}{tail}\n\n{quotation}"
