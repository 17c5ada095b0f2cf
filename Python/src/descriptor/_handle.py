"""Handle: what holds an object of the library until it is closed."""

from __future__ import annotations

from types import TracebackType
from typing import Any, Generic, TypeVar

Core = TypeVar("Core")
Own = TypeVar("Own", bound="Handle[Any]")


class Handle(Generic[Core]):
    """The object of the extension module behind an object of the package; None when closed."""

    _core: Core | None

    def close(self) -> None:
        """Gives the library's memory back, and makes room for another selection. Results,
        masks too, stay good."""
        self._core = None

    def _open(self) -> Core:
        if self._core is None:
            raise ValueError(f"{type(self).__name__}: it is closed")
        return self._core

    def __enter__(self: Own) -> Own:
        return self

    def __exit__(
        self,
        kind: type[BaseException] | None,
        error: BaseException | None,
        trace: TracebackType | None,
    ) -> None:
        self.close()
