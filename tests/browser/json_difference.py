"""The difference of two JSON values as a JSON Patch of add, remove and replace, and its use."""


def difference(old, new, path=""):
    """Returns the operations that make `new` of `old`."""
    if type(old) is not type(new):
        return [_operation("replace", path, new)]
    if isinstance(old, dict):
        return _of_objects(old, new, path)
    if isinstance(old, list):
        return _of_arrays(old, new, path)
    return [] if old == new else [_operation("replace", path, new)]


def _operation(name, path, value):
    return {"op": name, "path": path, "value": value}


def _below(path, key):
    return path + "/" + str(key).replace("~", "~0").replace("/", "~1")


def _of_objects(old, new, path):
    operations = [{"op": "remove", "path": _below(path, key)} for key in old if key not in new]
    for key, value in new.items():
        if key in old:
            operations += difference(old[key], value, _below(path, key))
        else:
            operations.append(_operation("add", _below(path, key), value))
    return operations


def _of_arrays(old, new, path):
    shared = min(len(old), len(new))
    operations = []
    for index in range(shared):
        operations += difference(old[index], new[index], _below(path, index))
    for index in range(len(old) - 1, shared - 1, -1):
        operations.append({"op": "remove", "path": _below(path, index)})
    for index in range(shared, len(new)):
        operations.append(_operation("add", _below(path, "-"), new[index]))
    return operations


def patched(value, operations):
    """Returns the value after the operations; changes the given value."""
    for operation in operations:
        if operation["path"] == "":
            value = operation["value"]
            continue
        *above, last = (key.replace("~1", "/").replace("~0", "~")
                        for key in operation["path"].split("/")[1:])
        place = value
        for key in above:
            place = place[int(key) if isinstance(place, list) else key]
        _change(place, last, operation)
    return value


def _change(place, key, operation):
    if not isinstance(place, list):
        if operation["op"] == "remove":
            del place[key]
        else:
            place[key] = operation["value"]
    elif operation["op"] == "remove":
        del place[int(key)]
    elif operation["op"] == "replace":
        place[int(key)] = operation["value"]
    else:
        place.insert(len(place) if key == "-" else int(key), operation["value"])
