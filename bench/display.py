"""What is on an X display, seen from outside of the programs that draw it."""

import ctypes
import sys

# Letters with soft edges have more colours; the ground of a window that isn't drawn yet has fewer.
COLOURS_OF_A_DRAWN_WINDOW = 16
STRIP_DISTANCE = 12
SMALLEST_WINDOW = (300, 200)


class Attributes(ctypes.Structure):
    """XWindowAttributes."""

    _fields_ = [(name, kind) for names, kind in (
        ("x y width height border_width depth", ctypes.c_int), ("visual", ctypes.c_void_p), ("root", ctypes.c_ulong),
        ("class_ bit_gravity win_gravity backing_store", ctypes.c_int), ("backing_planes backing_pixel", ctypes.c_ulong),
        ("save_under", ctypes.c_int), ("colormap", ctypes.c_ulong), ("map_installed map_state", ctypes.c_int),
        ("all_event_masks your_event_mask do_not_propagate_mask", ctypes.c_long), ("override_redirect", ctypes.c_int),
        ("screen", ctypes.c_void_p)) for name in names.split()]


class Image(ctypes.Structure):
    """The beginning of XImage."""

    _fields_ = [("width", ctypes.c_int), ("height", ctypes.c_int), ("xoffset", ctypes.c_int), ("format", ctypes.c_int),
                ("data", ctypes.POINTER(ctypes.c_char))]


class Display:
    """The top-level windows, and whether they are drawn. A window may go at any time: the answer is then that there is none."""

    VIEWABLE = 2
    Z_PIXMAP = 2

    def __init__(self):
        xlib = self.xlib = ctypes.CDLL("libX11.so.6")
        pointer, number = ctypes.c_void_p, ctypes.c_ulong
        xlib.XOpenDisplay.restype = pointer
        xlib.XDefaultRootWindow.restype = number
        xlib.XDefaultRootWindow.argtypes = [pointer]
        xlib.XQueryTree.argtypes = [pointer, number] + [pointer] * 4
        xlib.XGetWindowAttributes.argtypes = [pointer, number, pointer]
        xlib.XGetImage.argtypes = [pointer, number] + [ctypes.c_int] * 2 + [ctypes.c_uint] * 2 + [number, ctypes.c_int]
        xlib.XGetImage.restype = ctypes.POINTER(Image)
        xlib.XDestroyImage.argtypes = [pointer]
        xlib.XFree.argtypes = [pointer]
        xlib.XFetchName.argtypes = [pointer, number, pointer]
        # A window that has gone is no reason to end.
        self.ignore = ctypes.CFUNCTYPE(ctypes.c_int, pointer, pointer)(lambda *_: 0)
        xlib.XSetErrorHandler(self.ignore)
        self.display = xlib.XOpenDisplay(None)
        if not self.display:
            sys.exit("there is no display")
        self.root = xlib.XDefaultRootWindow(self.display)

    def windows(self):
        """Those that can be seen and are large enough for a main window, as (window, width, height)."""
        root, parent, children, count = ctypes.c_ulong(), ctypes.c_ulong(), ctypes.POINTER(ctypes.c_ulong)(), ctypes.c_uint()
        if not self.xlib.XQueryTree(self.display, self.root, *map(ctypes.byref, (root, parent, children, count))):
            return []
        found = []
        for window in children[:count.value]:
            shape = Attributes()
            if self.xlib.XGetWindowAttributes(self.display, window, ctypes.byref(shape)) and shape.map_state == self.VIEWABLE \
                    and shape.width >= SMALLEST_WINDOW[0] and shape.height >= SMALLEST_WINDOW[1]:
                found.append((window, shape.width, shape.height))
        if children:
            self.xlib.XFree(children)
        return found

    def name(self, window):
        text = ctypes.c_char_p()
        self.xlib.XFetchName(self.display, window, ctypes.byref(text))
        return (text.value or b"").decode("utf-8", "replace")

    def colours(self, window, x, y, width):
        """Those of a line of the window, each as the bytes of blue, green and red; None where it can't be seen."""
        image = self.xlib.XGetImage(self.display, window, x, y, width, 1, 0xFFFFFFFF, self.Z_PIXMAP)
        if not image:
            return None
        line = ctypes.string_at(image.contents.data, width * 4)
        self.xlib.XDestroyImage(image)
        return {line[at:at + 3] for at in range(0, len(line), 4)}

    def is_drawn(self, window, width, height):
        """Looks at lines of the window, which costs the display less than all of it."""
        seen = set()
        for row in range(STRIP_DISTANCE, height, STRIP_DISTANCE):
            line = self.colours(window, 0, row, width)
            if line is None:
                return False
            seen |= line
            if len(seen) >= COLOURS_OF_A_DRAWN_WINDOW:
                return True
        return False
