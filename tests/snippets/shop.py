"""The server that the pages call $SHOP: it says what it was sent."""

import http
import pathlib
import re
import sys

sys.path.append(str(pathlib.Path(__file__).parents[1] / "program"))
from servers import ScriptedServer, answer


def reply(request):
    method, path, _ = request.line.split()
    if path == "/terminals/4711":
        return answer(body=b'{"name":"Bar","battery":81}')
    if path == "/private" and not request.field("Authorization"):
        return answer("401 Unauthorized", b"Who are you?\n", 'WWW-Authenticate: Basic realm="shop"')
    status = http.HTTPStatus(int(path[8:]) if re.match(r"/status/\d", path) else 200)
    shown = [f"{name}: {value}" for name, value in request.headers.items() if re.match(r"(?i)content-type|x-", name)]
    came = "\n".join([f"{method} {path}", *shown, ""]).encode() + (b"\n" + request.body if request.body else b"")
    return answer(f"{status.value} {status.phrase}", came)


class Shop(ScriptedServer):
    """Runs for as long as it is entered; gives its URL."""

    def __enter__(self):
        self.always = reply
        return super().__enter__().root
