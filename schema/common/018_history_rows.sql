-- The whole line as it was, as a JSON object of its columns, on history entries that remove a
-- line or put it back as something else (a card save's removed line, a run undone), so a BOM
-- can be rebuilt as it stood at any time of its history.
ALTER TABLE sys_bom_history ADD COLUMN crow @TEXT@;
