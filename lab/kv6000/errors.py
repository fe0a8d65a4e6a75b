"""The one exception of the lab: what failed, what shows it, what to do next."""


class LabError(Exception):
    """A failure that a person reads. `evidence` and `advice` are whole sentences or ""."""

    def __init__(self, cause: str, evidence: str = "", advice: str = ""):
        super().__init__("\n".join(part for part in (cause, evidence, advice) if part))
        self.cause = cause


def last_lines(path, count: int = 15) -> str:
    """The end of a log as evidence, headed by its path."""
    try:
        lines = [line for line in path.read_text(errors="replace").splitlines() if line.strip()]
    except OSError as error:
        return f"{path}: {error.strerror}"
    return "\n".join([f"{path} ends with:"] + ["  | " + line for line in lines[-count:]])
