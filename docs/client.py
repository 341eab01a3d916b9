#!/usr/bin/python3
"""A client of the model server that knows nothing but wire/proto/tlm/v1/model.proto.

Reads the measurements of a unit, gives one of them a new name in one block, and prints the event by which the server
tells everybody of it.

    client.py ADDRESS UNIT-KEY NEW-NAME

ADDRESS is "HOST:PORT" or "unix:PATH". With "-" for the unit the first one that has measurements is taken. Needs
Debian's python3-grpcio and python3-grpc-tools.
"""
import importlib
import pathlib
import secrets
import sys
import tempfile

import grpc
from grpc_tools import protoc

PROTO_DIR = pathlib.Path(__file__).resolve().parent.parent / "wire" / "proto"
PROTO = "tlm/v1/model.proto"
DEADLINE = 10  # seconds for a call
PATIENCE = 60  # seconds for the event


def load_proto(folder):
    """Makes the modules of the .proto in a folder and imports them."""
    arguments = ["protoc", f"-I{PROTO_DIR}", f"--python_out={folder}", f"--grpc_python_out={folder}", PROTO]
    if protoc.main(arguments) != 0:
        raise SystemExit("the .proto cannot be translated")
    sys.path.insert(0, folder)
    return importlib.import_module("tlm.v1.model_pb2"), importlib.import_module("tlm.v1.model_pb2_grpc")


def python_value(value):
    kind = value.WhichOneof("kind")
    if kind is None:
        return None
    if kind == "text":
        return value.text.decode("cp1251")
    return getattr(value, kind)


def rows(table):
    """The rows of a plain table as dictionaries."""
    names = [field.name for field in table.fields]
    return [dict(zip(names, map(python_value, row.values))) for row in table.rows]


class Client:
    def __init__(self, pb, grpc_pb, address):
        self.pb = pb
        # The name of a socket in the file system means nothing as a name of a host.
        self.channel = grpc.insecure_channel(address, options=[("grpc.enable_http_proxy", 0),
                                                               ("grpc.default_authority", "localhost")])
        self.stub = grpc_pb.ModelStub(self.channel)

    def call(self, request, identity=b""):
        """One request in a block of its own. The reply, or an exception with the server's reason."""
        block = self.pb.Block(identity=identity, user="python", requests=[request], plain=True)
        answer = self.stub.Call(block, timeout=DEADLINE)
        for reply in [answer.whole, *answer.each]:
            if reply.status != 0:
                raise RuntimeError(f"status {reply.status}: {reply.payload.decode('cp1251')}")
        return answer.each[0]

    def table(self, body):
        request = self.pb.Request(kind=self.pb.PACKET, name=b"TableRecords", body=body.encode())
        return rows(self.call(request).plain.table)

    def by_key(self, table, number, value):
        """The rows of a table that have a value in its key of that number (0 is "KeyLink")."""
        pb = self.pb
        record = pb.Table(
            fields=[pb.Field(name="tblname", type=10), pb.Field(name="idxnum", type=5), pb.Field(name="fld_0", type=10)],
            rows=[pb.Row(values=[pb.Value(text=table.encode()), pb.Value(integer=number), pb.Value(text=value.encode())])])
        return rows(self.call(pb.Request(kind=pb.PACKET, name=b"RecByKey", table=record)).plain.table)

    def rename(self, key, name):
        pb = self.pb
        change = pb.Table(
            fields=[pb.Field(name="KeyLink", type=9, size=32), pb.Field(name="name_", type=10)],
            rows=[pb.Row(change=2, values=[pb.Value(text=key.encode()),
                                           pb.Value(text=name.encode("cp1251"), marked=True)])])
        request = pb.Request(kind=pb.UPDATE, name=b"IdentifiedObject", table=change)
        self.call(request, identity=secrets.token_hex(16).upper().encode())

    def listen(self, kinds):
        """The stream of events, which has begun when this returns."""
        stream = self.stub.Listen(iter([self.pb.Subscription(serial=1, kinds=kinds, plain=True)]),
                                  timeout=PATIENCE)
        first = next(stream)
        if not first.HasField("subscribed"):
            raise RuntimeError("the stream does not begin with the subscription")
        return stream


def first_unit(client):
    for unit in client.table("RemoteUnit,KeyLink"):
        if client.by_key("Measurement", 3, unit["KeyLink"]):
            return unit["KeyLink"]
    raise SystemExit("no unit has measurements")


def main(address, unit, name):
    with tempfile.TemporaryDirectory() as folder:
        client = Client(*load_proto(folder), address)
        if unit == "-":
            unit = first_unit(client)
        measurements = client.by_key("Measurement", 3, unit)
        for measurement in sorted(measurements, key=lambda row: row["locId"]):
            known = client.by_key("IdentifiedObject", 0, measurement["KeyLink"])[0]
            print("measurement", measurement["locId"], measurement["KeyLink"], known["name_"])
        if not measurements:
            raise SystemExit(f"the unit {unit} has no measurements")
        key = min(measurements, key=lambda row: row["locId"])["KeyLink"]
        stream = client.listen([602])
        client.rename(key, name)
        for delivery in stream:
            for event in delivery.events:
                row = rows(event.record)[0]
                print("event", event.kind, event.sequence, event.param.decode("cp1251"), event.user.decode(),
                      event.key.decode(), row["name_"])
                stream.cancel()
                return


if __name__ == "__main__":
    if len(sys.argv) != 4:
        raise SystemExit(__doc__)
    main(*sys.argv[1:])
