"""Who may use the web server: Basic and Digest authentication."""

import base64
import binascii
import hashlib
import hmac
import re
import secrets
import time

REALM = "Norix Camera"
_NONCE_SECONDS = 300
_PARAMETER = re.compile(r'(\w+)\s*=\s*(?:"([^"]*)"|([^\s,]+))')


def _md5(text: str) -> str:
    return hashlib.md5(text.encode()).hexdigest()


def _same(left: str, right: str) -> bool:
    return hmac.compare_digest(left.encode(), right.encode())


class WebAuth:
    """Checks Authorization headers and writes the challenges."""

    def __init__(self, scheme: str, user: str, password: str) -> None:
        self._basic = scheme in ("basic", "both")
        self._digest = scheme in ("digest", "both")
        self._user = user
        self._password = password
        self._nonces: dict[str, float] = {}

    def allows(self, method: str, header: str) -> bool:
        if not self._basic and not self._digest:
            return True
        scheme, _, rest = header.partition(" ")
        if scheme.lower() == "basic" and self._basic:
            return self._basic_is_good(rest)
        if scheme.lower() == "digest" and self._digest:
            return self._digest_is_good(method, {name: quoted or plain for name, quoted, plain in
                                                 _PARAMETER.findall(rest)})
        return False

    def challenges(self) -> list[str]:
        lines = []
        if self._digest:
            now = time.monotonic()
            self._nonces = {nonce: until for nonce, until in self._nonces.items() if until > now}
            nonce = secrets.token_hex(16)
            self._nonces[nonce] = now + _NONCE_SECONDS
            lines.append(f'Digest realm="{REALM}", nonce="{nonce}", qop="auth", algorithm=MD5')
        if self._basic:
            lines.append(f'Basic realm="{REALM}"')
        return lines

    def _basic_is_good(self, text: str) -> bool:
        try:
            given = base64.b64decode(text, validate=True).decode()
        except (binascii.Error, UnicodeDecodeError):
            return False
        return _same(given, f"{self._user}:{self._password}")

    def _digest_is_good(self, method: str, given: dict[str, str]) -> bool:
        if given.get("username") != self._user or self._nonces.get(given.get("nonce", ""), 0) < time.monotonic():
            return False
        secret = _md5(f"{self._user}:{REALM}:{self._password}")
        parts = [secret, given["nonce"]]
        if "qop" in given:
            parts += [given.get("nc", ""), given.get("cnonce", ""), given["qop"]]
        expected = _md5(":".join([*parts, _md5(f"{method}:{given.get('uri', '')}")]))
        return _same(given.get("response", ""), expected)
