"""What an administrator of a stock server does, judged by what visitors get."""
import pytest
from servers import Debian, RedHat


@pytest.fixture(scope="module", params=[Debian, RedHat], ids=["debian", "redhat"])
def built(request):
    server = request.param()
    yield server
    server.remove()


@pytest.fixture
def server(built):
    yield built
    built.restore()


def test_all_sites_answer(server):
    assert server.serving() == server.all_served()
