"""Who writes to Mara, and for whom they write."""

from dataclasses import dataclass

from demo.mailbox import mime


@dataclass(frozen=True)
class Person:
    name: str
    address: str
    signs: str = ""

    @property
    def domain(self):
        return self.address.rpartition("@")[2]

    @property
    def first_name(self):
        """How this person signs a letter."""
        return self.signs or self.name.split(" ")[0]

    def written(self, charset="utf-8"):
        return mime.mailbox(self.name, self.address, charset)


MARA = Person("Mara Jansen", "mara@larkhaven.example")

# The library of Larkhaven
THEO = Person("Theo Brandt", "theo@larkhaven.example")
INES = Person("Ines Okafor", "ines@larkhaven.example")
WILMA = Person("Wilma Suárez", "wilma@larkhaven.example")
OLE = Person("Ole Fjeld", "ole@larkhaven.example")
FRONT_DESK = Person("Larkhaven Library, front desk", "desk@larkhaven.example", "The front desk")

# The town
PIKE = Person("Rosalind Pike", "rosalind.pike@council.example", "Rosalind Pike")
EZE = Person("Dr. Adaeze Eze", "a.eze@townarchive.example", "Adaeze")
WEISS = Person("Jürgen Weiß", "juergen@werkhof-weiss.example", "Jürgen Weiß")
PETRA = Person("Petra Hofmann", "petra@krume-bakery.example")
ACHTERBERG = Person("Bernard Achterberg", "b.achterberg@ledger.example", "B. Achterberg")
NURSE = Person("Practice Dr. Lund", "desk@dr-lund.example", "Practice Dr. Lund")

# The sailing club
TOBIAS = Person("Tobias Lindgren", "tobias@saltmarsh-sailing.example")
SAOIRSE = Person("Saoirse Kelly", "saoirse@saltmarsh-sailing.example")
MATEO = Person("Mateo Rojas", "mateo@example.net")
HARBOUR = Person("Harbour Office", "office@harbour-larkhaven.example", "Harbour Office")

# Family and friends
ELIN = Person("Elin Jansen", "elin.jansen@example.org", "Mum")
NILS = Person("Nils Jansen", "nils@example.net")
FREYA = Person("Freya Madsen", "freya.madsen@example.com")
IMRAN = Person("Imran Qureshi", "imran@example.com")
CLEO = Person("Cléo Marchand", "cleo.marchand@example.org")

# Farther away
YUKI = Person("田中 由紀", "yuki@kyoto-ryokan.example", "由紀")
SATO = Person("佐藤 健", "sato@kyoto-ryokan.example", "佐藤")
ANNA = Person("Анна Морозова", "anna@arkhiv.example")
PAVEL = Person("Павел Ершов", "pavel@arkhiv.example")
LAYLA = Person("ليلى حداد", "layla@maktaba.example")
FARID = Person("Farid Nassar", "farid@shelfmark.example")
