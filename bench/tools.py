"""The plain tools that an operation is held against, as shell commands that do its work on a file."""
import shlex

NEW_BLOCK = (("ServerName", "created.example"), ("DocumentRoot", "/srv/created/www/html"))
NEW_ROOT = "/srv/moved/www/html"


def augtool(file, operation, domain):
    root = f"/files{file}/VirtualHost[directive[.='ServerName']/arg='{domain}']/directive[.='DocumentRoot']/arg"
    block = f"/files{file}/VirtualHost"
    directives = [f"set {block}[last()]/directive[{number}]{node}"
                  for number, (name, value) in enumerate(NEW_BLOCK, 1) for node in (f" {name}", f"/arg {value}")]
    commands = {
        "create": [f"set {block}[last()+1]/arg 192.0.2.10:80", *directives, "save"],
        "read-directive": [f"get {root}"],
        "update-directive": [f"set {root} '\"{NEW_ROOT}\"'", "save"],
    }[operation]
    return f"printf '%s\\n' {shlex.join(commands)} | augtool -A -t 'Httpd.lns incl {file}'"


def sed(file, operation, domain):
    # A block is gathered whole before it is looked at: its name stands behind its first line.
    gathered = r"/{:a;N;/\n#*<\/VirtualHost>/!ba;/\n#*\tServerName " + domain + r"\n/"
    script = {
        "update-directive": rf"/\tServerName {domain}$/,/<\/VirtualHost>/"
                            rf's|\tDocumentRoot .*|\tDocumentRoot "{NEW_ROOT}"|',
        "stop": "/^<VirtualHost" + gathered + r"{s/^/#/;s/\n/\n#/g}}",
        "start": "/^#<VirtualHost" + gathered + r"{s/^#//;s/\n#/\n/g}}",
    }[operation]
    return f"sed -i {shlex.quote(script)} {file}"


def grep(file, _operation, _domain):
    # Into a file: into /dev/null grep would stop at the first name.
    return f"grep -i '^[[:space:]]*ServerName' {file} >{file}.names"


def apache2(file, _operation, _domain):
    return f"apache2 -S -f {file}"


def count(file, _operation, _domain):
    return f"wc -l {file}"


def copy(file, _operation, _domain):
    return f"cp {file} {file}.copy && sync {file}.copy && mv {file}.copy {file}"


def plain_grep(file, _operation, _domain):
    return f"grep ServerName {file} >{file}.names"


def plain_copy(file, _operation, _domain):
    return f"cp {file} {file}.copy"


def synced_copy(file, _operation, _domain):
    return f"cp {file} {file}.copy && sync {file}.copy"


TOOLS = {"augtool": augtool, "sed -i": sed, "grep": grep, "apache2 -S": apache2, "wc -l": count, "cp+sync+mv": copy,
         "plain grep": plain_grep, "cp": plain_copy, "cp+sync": synced_copy}
