"""Small pictures, drawn here: the mailbox carries no file that somebody else made."""

import math
import struct
import zlib


class Canvas:
    """A picture of 8-bit RGB. Colours are written as "#rrggbb"."""

    def __init__(self, width, height, colour="#ffffff"):
        self.width = width
        self.height = height
        self.rows = [bytearray(_rgb(colour) * width) for _ in range(height)]

    def gradient(self, top, bottom, first=0, last=None):
        """Fills the rows from `first` to before `last` with a vertical gradient."""
        last = self.height if last is None else last
        start, end = _rgb(top), _rgb(bottom)
        for y in range(max(first, 0), min(last, self.height)):
            share = (y - first) / max(last - first - 1, 1)
            self.rows[y][:] = _mix(start, end, share) * self.width
        return self

    def rectangle(self, x, y, width, height, colour):
        for row in range(max(y, 0), min(y + height, self.height)):
            self._span(row, x, x + width, colour)
        return self

    def rounded(self, x, y, width, height, radius, colour):
        for row in range(height):
            edge = min(row, height - 1 - row)
            inset = radius - math.sqrt(max(radius * radius - (radius - edge - 0.5) ** 2, 0)) if edge < radius else 0
            self._span(y + row, x + inset, x + width - inset, colour)
        return self

    def disc(self, x, y, radius, colour):
        return self.ellipse(x, y, radius, radius, colour)

    def ellipse(self, x, y, wide, high, colour):
        for row in range(int(y - high), int(y + high) + 1):
            inside = 1 - ((row + 0.5 - y) / high) ** 2
            if inside > 0:
                half = wide * math.sqrt(inside)
                self._span(row, x - half, x + half, colour)
        return self

    def polygon(self, points, colour):
        """Fills a convex polygon."""
        for row in range(int(min(y for _, y in points)), int(max(y for _, y in points)) + 1):
            crossings = []
            for (ax, ay), (bx, by) in zip(points, points[1:] + points[:1]):
                if (ay <= row + 0.5) != (by <= row + 0.5):
                    crossings.append(ax + (row + 0.5 - ay) * (bx - ax) / (by - ay))
            if len(crossings) >= 2:
                self._span(row, min(crossings), max(crossings), colour)
        return self

    def line(self, points, thickness, colour):
        for (ax, ay), (bx, by) in zip(points, points[1:]):
            steps = max(int(abs(bx - ax)), int(abs(by - ay)), 1)
            for step in range(0, steps + 1, 2):
                self.disc(ax + (bx - ax) * step / steps, ay + (by - ay) * step / steps, thickness / 2, colour)
        return self

    def _span(self, row, start, end, colour):
        """Paints from `start` to `end`; the pixels at both ends are mixed with what they cover, which smooths edges."""
        if not 0 <= row < self.height:
            return
        start, end = max(start, 0), min(end, self.width)
        if end <= start:
            return
        pixels, rgb = self.rows[row], _rgb(colour)
        first, last = math.ceil(start), math.floor(end)
        if last > first:
            pixels[first * 3:last * 3] = rgb * (last - first)
        for x, share in ((first - 1, first - start), (last, end - last)):
            if 0 < share < 1 and 0 <= x < self.width:
                pixels[x * 3:x * 3 + 3] = _mix(bytes(pixels[x * 3:x * 3 + 3]), rgb, share)

    def png(self):
        data = zlib.compress(b"".join(b"\0" + row for row in self.rows), 6)
        header = struct.pack(">IIBBBBB", self.width, self.height, 8, 2, 0, 0, 0)
        return b"\x89PNG\r\n\x1a\n" + _chunk(b"IHDR", header) + _chunk(b"IDAT", data) + _chunk(b"IEND", b"")


def _chunk(kind, data):
    return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))


def _rgb(colour):
    return bytes.fromhex(colour[1:])


def _mix(start, end, share):
    return bytes(round(a + (b - a) * share) for a, b in zip(start, end))


# The pictures of the mailbox

def harbour(evening=False):
    sky = ("#2b2d5b", "#f08a5d") if evening else ("#5fa8e6", "#dff1fb")
    sea = ("#8c4a5f", "#25284a") if evening else ("#3f8fb8", "#1d5c7d")
    picture = Canvas(480, 270).gradient(*sky, 0, 160).gradient(*sea, 160, 270)
    picture.disc(350 if evening else 400, 140 if evening else 55, 26, "#ffd9a0" if evening else "#fff6cf")
    picture.polygon([(0, 160), (0, 132), (70, 118), (150, 160)], "#43405f" if evening else "#6d9277")
    picture.polygon([(90, 160), (190, 128), (290, 160)], "#393753" if evening else "#5a8068")
    for x, y, size in ((130, 190, 1.0), (250, 176, 0.6), (320, 205, 1.3)):
        picture.polygon([(x, y - 70 * size), (x, y - 6 * size), (x + 34 * size, y - 6 * size)], "#fdfdfd")
        picture.polygon([(x - 4 * size, y - 58 * size), (x - 4 * size, y - 6 * size), (x - 26 * size, y - 6 * size)], "#d9574a")
        picture.polygon([(x - 32 * size, y - 2 * size), (x + 40 * size, y - 2 * size), (x + 28 * size, y + 10 * size),
                         (x - 22 * size, y + 10 * size)], "#3a2c2a")
    for row in range(180, 268, 11):
        for x in range(row % 37, 480, 61):
            picture.rectangle(x, row, 20, 1, "#b98a92" if evening else "#7fb9d3")
    return picture.png()


def loaf():
    picture = Canvas(420, 250, "#f6ead8").rectangle(0, 188, 420, 62, "#c99f6b").rectangle(0, 188, 420, 4, "#b48a57")
    picture.ellipse(210, 196, 150, 12, "#a27a4c").ellipse(210, 150, 140, 62, "#8a4f22").ellipse(210, 144, 134, 56, "#b86f32")
    picture.ellipse(200, 134, 108, 38, "#cf8a48")
    for x in (130, 175, 220, 265):
        picture.line([(x, 160), (x + 34, 108)], 9, "#f3d9ac")
    return picture.png()


def shelves():
    picture = Canvas(440, 280, "#efe8dc").rectangle(20, 16, 400, 248, "#8d6742")
    colours = ("#7b2d26", "#0b7a75", "#d7c9aa", "#19535f", "#c98b2c", "#4a5d23", "#6a45d8", "#b0413e")
    for shelf in range(3):
        top = 28 + shelf * 78
        picture.rectangle(32, top, 376, 66, "#5e4329")
        x = 38
        for book in range(40):
            wide = 8 + (book * 7 + shelf * 5) % 9
            tall = 44 + (book * 11 + shelf * 13) % 20
            if x + wide > 402:
                break
            if (book + shelf) % 9 != 8:
                picture.rectangle(x, top + 66 - tall, wide - 1, tall, colours[(book * 3 + shelf) % len(colours)])
                picture.rectangle(x + 2, top + 66 - tall + 8, max(wide - 5, 1), 2, "#f2e6c9")
            x += wide
    return picture.png()


def bars(values, colour="#6a45d8"):
    """A bar chart; the tallest value fills the height."""
    picture = Canvas(460, 220).rectangle(36, 190, 404, 2, "#888494")
    for line in range(4):
        picture.rectangle(36, 25 + line * 41, 404, 1, "#e4e1ec")
    width = 404 // len(values)
    for index, value in enumerate(values):
        height = round(160 * value / max(values))
        picture.rounded(36 + index * width + width // 6, 190 - height, width * 2 // 3, height, 3,
                        colour if index != len(values) - 1 else "#d99a00")
    return picture.png()


def curve(values, colour="#0b7a75"):
    picture = Canvas(460, 220)
    for line in range(5):
        picture.rectangle(30, 20 + line * 42, 410, 1, "#e4e1ec")
    low, high = min(values), max(values)
    points = [(30 + 410 * index / (len(values) - 1), 188 - 160 * (value - low) / (high - low))
              for index, value in enumerate(values)]
    picture.line(points, 4, colour)
    for x, y in points:
        picture.disc(x, y, 4, colour).disc(x, y, 2, "#ffffff")
    return picture.png()


def logo(colour, mark):
    """A club's or shop's sign: "sail", "book", "loaf", "leaf" or "wave" on a rounded square."""
    picture = Canvas(96, 96).rounded(0, 0, 96, 96, 20, colour)
    if mark == "sail":
        picture.polygon([(50, 16), (50, 66), (78, 66)], "#ffffff").polygon([(44, 26), (44, 66), (22, 66)], "#e8e8f4")
        picture.polygon([(18, 72), (80, 72), (68, 84), (30, 84)], "#ffffff")
    elif mark == "book":
        picture.polygon([(16, 28), (46, 34), (46, 76), (16, 70)], "#ffffff")
        picture.polygon([(80, 28), (50, 34), (50, 76), (80, 70)], "#ffffff")
    elif mark == "loaf":
        picture.ellipse(48, 54, 32, 20, "#ffffff")
        for x in (34, 48, 62):
            picture.line([(x - 4, 60), (x + 4, 46)], 4, colour)
    elif mark == "leaf":
        picture.ellipse(48, 46, 18, 30, "#ffffff").line([(48, 30), (48, 86)], 3, colour)
    else:
        for y in (34, 52, 70):
            picture.line([(14 + x, y + 6 * math.sin(x / 9)) for x in range(0, 69, 3)], 5, "#ffffff")
    return picture.png()


def floor_plan():
    picture = Canvas(420, 300, "#fbfaf6")
    for x, y, width, height in ((20, 20, 380, 260), (20, 20, 150, 120), (170, 20, 230, 120), (20, 140, 240, 140)):
        for edge in ((x, y, width, 4), (x, y + height - 4, width, 4), (x, y, 4, height), (x + width - 4, y, 4, height)):
            picture.rectangle(*edge, "#3b3a40")
    picture.rectangle(170, 60, 4, 34, "#fbfaf6").rectangle(60, 140, 36, 4, "#fbfaf6").rectangle(256, 200, 4, 34, "#fbfaf6")
    for x in range(190, 380, 32):
        picture.rectangle(x, 38, 20, 84, "#c9b79a")
    for x, y in ((90, 80), (80, 210), (150, 210), (330, 220)):
        picture.disc(x, y, 22, "#d9cfe9").disc(x, y, 18, "#ece6f5")
    return picture.png()


def signature():
    points = [(20 + x, 45 + 18 * math.sin(x / 7) * math.cos(x / 31) - x / 14) for x in range(0, 180, 2)]
    return Canvas(220, 80).line(points, 3, "#1b2a6b").line([(16, 66), (206, 58)], 2, "#1b2a6b").png()


def dot(colour="#ffffff"):
    """One pixel, the size of a tracker."""
    return Canvas(1, 1, colour).png()
