set_args=(abc9=true retime=true)
