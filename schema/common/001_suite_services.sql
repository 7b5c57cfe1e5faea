-- Tables behind the suite services: operators, rights, column settings, locks, settings.

CREATE TABLE sys_operator (
    cuserid VARCHAR(20) PRIMARY KEY,
    cusername VARCHAR(60) NOT NULL,
    cpasswordhash VARCHAR(64),
    csalt VARCHAR(40)
);

-- Function catalogue: Find answers cfunctext for cfuncname to operators with the right.
CREATE TABLE sys_function (
    cfunccode VARCHAR(40) PRIMARY KEY,
    cfuncname VARCHAR(60) NOT NULL,
    cfunctext VARCHAR(200) NOT NULL
);

-- Per operator and kind (inventory, department, person, warehouse, function): all, none or list.
CREATE TABLE sys_right_scope (
    cuserid VARCHAR(20) NOT NULL REFERENCES sys_operator(cuserid) ON DELETE CASCADE,
    ckind VARCHAR(20) NOT NULL,
    cscope VARCHAR(10) NOT NULL CHECK (cscope IN ('all', 'none', 'list')),
    PRIMARY KEY (cuserid, ckind)
);

CREATE TABLE sys_right (
    cuserid VARCHAR(20) NOT NULL REFERENCES sys_operator(cuserid) ON DELETE CASCADE,
    ckind VARCHAR(20) NOT NULL,
    ccode VARCHAR(60) NOT NULL,
    PRIMARY KEY (cuserid, ckind, ccode)
);

-- Column settings per key; cuserid '' holds the account default.
CREATE TABLE sys_column_setting (
    ckey VARCHAR(40) NOT NULL,
    cuserid VARCHAR(20) NOT NULL DEFAULT '',
    iorder @INT@ NOT NULL,
    cfieldname VARCHAR(60) NOT NULL,
    ccaption VARCHAR(60) NOT NULL,
    bshow @INT@ NOT NULL DEFAULT 1,
    iwidth @INT@ NOT NULL DEFAULT 100,
    csort VARCHAR(4) NOT NULL DEFAULT '',
    isortorder @INT@ NOT NULL DEFAULT 0,
    PRIMARY KEY (ckey, cuserid, iorder)
);

CREATE TABLE sys_lock_key (
    ckey VARCHAR(200) PRIMARY KEY
);

CREATE TABLE sys_lock (
    ckey VARCHAR(200) NOT NULL,
    csession VARCHAR(40) NOT NULL,
    cuserid VARCHAR(20) NOT NULL,
    cusername VARCHAR(60),
    chost VARCHAR(100),
    ipid @BIGINT@,
    bshared @INT@ NOT NULL DEFAULT 0,
    iheartbeat @BIGINT@ NOT NULL,
    PRIMARY KEY (ckey, csession)
);

CREATE TABLE sys_setting (
    cname VARCHAR(60) PRIMARY KEY,
    cvalue VARCHAR(200)
);

-- Per-operator preferences (toolbar look, splitter width …) under section and key names.
CREATE TABLE sys_user_setting (
    cuserid VARCHAR(20) NOT NULL,
    csection VARCHAR(100) NOT NULL,
    cname VARCHAR(100) NOT NULL,
    cvalue VARCHAR(200),
    PRIMARY KEY (cuserid, csection, cname)
);
