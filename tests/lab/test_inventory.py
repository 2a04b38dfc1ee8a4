"""What qdmctl tells of a server, held against the server's true state."""

import json

import pytest
from conftest import HBACMD, SERVERS


def by_device(answer):
    return {port["device_id"]: port for port in answer.json["ports"]}


def test_list_tells_what_the_adapters_hold(lab):
    answer = lab.qdmctl("list")
    assert (answer.exit_code, answer.json["result"], answer.json["errors"]) == (0, "ok", [])
    state = lab.show()
    ports = answer.json["ports"]
    true_ports = [(adapter, port) for adapter in state["adapters"] for port in adapter["ports"]]
    assert len(ports) == len(true_ports)
    for told, (adapter, true) in zip(ports, true_ports):
        assert told["device_id"].startswith(true["pci"])
        assert told["wwpn"] == true["wwpn"].replace(":", "").upper()
        assert told["versions"]["firmware"] == adapter["running"]["firmware"].split(" ")[0]
        assert told["versions"]["boot_bios"] == adapter["running"]["boot_bios"]
        assert None not in told["versions"].values()


def test_a_device_whose_modalias_tells_nothing_is_read_file_by_file(lab):
    expected = lab.qdmctl("list").json["ports"]
    first, second = sorted((lab.folder / "sys/pci/devices").iterdir())[:2]
    (first / "modalias").unlink()
    (second / "modalias").write_text("pci:v000010DF\n", encoding="ascii")
    assert lab.qdmctl("list").json["ports"] == expected


@pytest.mark.parametrize("ports", [1, 3])
def test_calls_of_the_tool_cold_and_warm(make_lab, ports):
    lab = make_lab(ports=ports)
    lab.qdmctl("list")
    verbs = sorted(call["verb"].lower() for call in lab.calls())
    assert verbs == ["hbaattributes"] * ports + ["listhbas", "version"]
    assert lab.qdmctl("list").exit_code == 0
    assert len(lab.calls()) == len(verbs), "a fresh cache must answer"


@pytest.mark.parametrize("name, ids, reported", [
    ("default", "10df_f100_10df_f100\n", None),
    ("revision03", "10df_f100 -p00 10df\n", "fcelx_8g2p_10df_f100 -p00 10df")])
def test_dual_port_key_is_whole_whatever_lspci_prints(make_lab, name, ids, reported):
    lab = make_lab(name)
    ports = [port for port in lab.qdmctl("list").json["ports"] if "2P" in port["vendor_class"]]
    assert len(ports) == 2
    for port in ports:
        assert port["model_key"] == "fcelx_8g2p_10df_f100_10df_f100"
        assert (port.get("reported_model_key") or "").rstrip() == (reported or "")
    file = lab.inside("/opt/velmora/qdm/provider/tmp/EMULEX/temp/4ids")
    assert file.read_text() == ids


@pytest.mark.parametrize("name, device", [
    ("0000:04:00.0-10df-f100", "0000:04:00.0-10df-f100"), ("04:00.0", "0000:04:00.0-10df-f100"),
    ("0000:05:00.1", "0000:05:00.1-10df-f100"), ("04", "0000:04:00.0-10df-f100"),
    ("10:00:00:90:fa:82:05:01", "0000:05:00.1-10df-f100"),
    ("10000090FA160300", "0000:03:00.0-10df-e200")])
def test_a_port_goes_by_several_names(lab, name, device):
    assert list(by_device(lab.qdmctl("list", "--device", name))) == [device]


@pytest.mark.parametrize("name, code, error", [
    ("06:00.0", 3, "no-device"), ("05:00", 2, "usage"), ("", 3, "no-device"),
    ("10:00:00:90:fa:82:05:ff", 3, "no-device")])
def test_unknown_and_ambiguous_names(lab, name, code, error):
    answer = lab.qdmctl("list", "--device", name)
    assert (answer.exit_code, answer.error_ids()) == (code, [error])
    assert "0000:05:00." in answer.json["errors"][0]["message"] + answer.json["errors"][0]["hint"]


def test_no_adapter_and_unreadable_version(make_lab):
    answer = make_lab("none").qdmctl("list")
    assert (answer.exit_code, answer.error_ids(), answer.json["ports"]) == (3, ["no-adapter"], [])
    server = json.loads((SERVERS / "default.json").read_text())
    server["adapters"][0]["firmware"] = "of no known form"
    lab = make_lab(server=server)
    answer = lab.qdmctl("list")
    firmware = [port["versions"]["firmware"] for port in answer.json["ports"]]
    assert answer.exit_code == 0 and firmware[:2] == [None, None] and None not in firmware[2:]
    calls = len(lab.calls())
    assert lab.qdmctl("list").exit_code == 0 and len(lab.calls()) == calls + 2, "not kept"


def test_rights_and_missing_tool(lab):
    assert lab.qdmctl("list", options=["--user"]).error_ids() == ["not-root"]
    assert lab.qdmctl("list", env={"QDM_INSTALL_PATH": "/opt/$(id)"}).error_ids() == ["work-area"]
    lab.run("rm", HBACMD)
    answer = lab.qdmctl("list")
    assert (answer.exit_code, answer.error_ids()) == (1, ["tool-missing"])
    assert "One Command Manager" in answer.json["errors"][0]["message"]
    assert lab.calls() == []


def test_trace_and_standard_output(lab):
    answer = lab.qdmctl("list", "--trace", "/tmp/trace")
    assert answer.exit_code == 0 and answer.stderr == ""
    trace = lab.inside("/tmp/trace").read_text()
    assert "CFC_EMULEX_16G_Vendor::LinkDevice() [START]" in trace
    assert lab.qdmctl("list", "--trace", "/no/such/folder/t").error_ids() == ["usage"]
    assert lab.qdmctl("list", env={"QDM_TRACE": "/tmp/trace", "QDM_TRACE_LEVEL": "1x"}
                      ).error_ids() == ["usage"]
    text = lab.run("qdmctl", "list").stdout
    assert "11.2.156.20" in text and max(map(len, text.splitlines())) < 160


def test_ports_that_are_not_listed_cost_one_more_listing(lab):
    lab.fault("listhbas", "truncate", "600")
    answer = lab.qdmctl("list")
    assert answer.error_ids() == ["tool-failed"] * 4
    assert len(lab.calls("listhbas")) == 2 * (4 + 1), "the provider's of each, and one more"
