// placeholder: syslog logger
