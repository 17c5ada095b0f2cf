"""The errors of this package. Each text is one line and says what to do differently."""


class Error(Exception):
    """The base of all of them. Running out of memory is MemoryError all the same."""


class ArgumentError(Error, ValueError):
    """An argument that makes no sense. The text begins with its name.

    >>> import descriptor
    >>> descriptor.PointTracker(descriptor.PointSettings(max_points=0))
    Traceback (most recent call last):
    descriptor.ArgumentError: settings.max_points: 0 is not in 1 to 100000
    """


class BusyError(Error, RuntimeError):
    """Somebody else is using what only one may use at a time."""


class Cancelled(Error):
    """A progress callback said stop."""


class LibraryError(Error, RuntimeError):
    """The library refused a request, or had no answer."""


class VideoError(Error, OSError):
    """A clip that cannot be read: missing, damaged, of no known format, or no reader for it."""


for _class in (Error, ArgumentError, BusyError, Cancelled, LibraryError, VideoError):
    _class.__module__ = "descriptor"
